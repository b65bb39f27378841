// SPDX-License-Identifier: GPL-2.0-only
#define NCURSES_NOMACROS 1
#define NCURSES_WIDECHAR 1
#include "ovk/top/terminal.h"

#include <langinfo.h>
#include <ncurses.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "ovk/base/failure.h"
#include "ovk/top/crash_guard.h"
#include "ovk/top/terminal_kind.h"

namespace ovk::top {

namespace {

constexpr int escape_delay_ms = 25;  // between the bytes of one key

enum pair : short { no_pair, green, yellow, red, cyan };

struct look {
    attr_t attributes;
    pair colour;
    attr_t without_colours;
};

// In the order of the styles.
constexpr look looks[] = {
    {A_NORMAL, no_pair, A_NORMAL},   {A_BOLD, no_pair, A_BOLD},  {A_DIM, no_pair, A_NORMAL},
    {A_REVERSE, no_pair, A_REVERSE}, {A_BOLD, green, A_BOLD},    {A_BOLD, yellow, A_BOLD},
    {A_BOLD, red, A_REVERSE},        {A_NORMAL, cyan, A_NORMAL}, {A_REVERSE, no_pair, A_REVERSE},
};

SCREEN *open_terminal() {
    SCREEN *opened = choose_known_kind() ? newterm(nullptr, stdout, stdin) : nullptr;

    if (opened == nullptr) {
        throw failure(exit_status::usage,
                      "the terminal is of no kind that is known; set TERM, for "
                      "instance to vt100, or pipe the output to cat");
    }
    return opened;
}

termios settings_of(int descriptor) {
    termios found = {};
    tcgetattr(descriptor, &found);
    return found;
}

// A sequence of the terminal, without the delays that only real ones need.
std::string sequence(const char *capability) {
    const char *text = tigetstr(capability);
    const bool has = text != nullptr && reinterpret_cast<std::intptr_t>(text) != -1;
    std::string plain = has ? text : "";

    for (std::size_t start = plain.find("$<"); start != plain.npos; start = plain.find("$<")) {
        plain.erase(start, plain.find('>', start) - start + 1);
    }
    return plain;
}

// A terminal without a second screen keeps what stands on it.
std::string reset_sequences() {
    const std::string first_screen = sequence("rmcup");
    return sequence("sgr0") + sequence("rmkx") + sequence("cnorm") +
           (first_screen.empty() ? "\r\n" : first_screen);
}

glyphs usable_glyphs() {
    const char *kind = std::getenv("TERM");
    const bool old = kind != nullptr && std::strncmp(kind, "vt", 2) == 0;

    return !old && std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? glyphs::blocks : glyphs::ascii;
}

void choose_colours() {
    if (has_colors()) {
        start_color();
        use_default_colors();
        init_pair(green, COLOR_GREEN, -1);
        init_pair(yellow, COLOR_YELLOW, -1);
        init_pair(red, COLOR_RED, -1);
        init_pair(cyan, COLOR_CYAN, -1);
    }
}

void put(int row, int column, const cell &what) {
    const look &found = looks[static_cast<std::size_t>(what.look)];
    const std::array<wchar_t, 2> text = {static_cast<wchar_t>(what.glyph), L'\0'};
    cchar_t complex = {};

    setcchar(&complex, text.data(), has_colors() ? found.attributes : found.without_colours,
             has_colors() ? found.colour : no_pair, nullptr);
    mvadd_wch(row, column, &complex);
}

int known_key(int code) {
    static constexpr struct {
        int code;
        int known;
    } keys[] = {{KEY_UP, key_up},           {KEY_DOWN, key_down}, {KEY_PPAGE, key_page_up},
                {KEY_NPAGE, key_page_down}, {KEY_HOME, key_home}, {KEY_END, key_end},
                {KEY_ENTER, key_enter},     {'\r', key_enter}};

    for (const auto &each : keys) {
        if (each.code == code) {
            return each.known;
        }
    }
    return code;
}

}  // namespace

struct terminal::screen {
    termios before = settings_of(STDIN_FILENO);
    SCREEN *opened = open_terminal();
    crash_guard guard{STDIN_FILENO, before, reset_sequences()};

    ~screen() {
        move(getmaxy(stdscr) - 1, 0);  // where the shell goes on
        clrtoeol();
        refresh();
        endwin();
        delscreen(opened);
    }
};

terminal::terminal() {
    std::setlocale(LC_CTYPE, "");
    screen_ = std::make_unique<screen>();
    set_escdelay(escape_delay_ms);
    cbreak();
    noecho();
    curs_set(0);
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    choose_colours();
}

terminal::~terminal() = default;

extent terminal::size() const {
    return {getmaxy(stdscr), getmaxx(stdscr)};
}

glyphs terminal::drawn_with() const {
    return usable_glyphs();
}

void terminal::draw(const canvas &what) {
    for (int row = 0; row < what.size().rows; ++row) {
        for (int column = 0; column < what.size().columns; ++column) {
            put(row, column, what.at(row, column));
        }
    }
    refresh();
}

void terminal::forget() {
    clearok(curscr, TRUE);
}

int terminal::next_key() {
    const int code = getch();
    return code == ERR || code == KEY_RESIZE ? key_none : known_key(code);
}

int terminal::descriptor() const {
    return STDIN_FILENO;
}

bool terminal::is_gone() const {
    pollfd asked = {STDIN_FILENO, 0, 0};
    return poll(&asked, 1, 0) > 0;
}

}  // namespace ovk::top
