// SPDX-License-Identifier: GPL-2.0-only
// Screens of hand-made figures.
#include <gtest/gtest.h>

#include "ovk/tests/top_figures.h"
#include "ovk/top/layout.h"

namespace ovk::tests {

namespace {

using top::dashboard;
using top::glyphs;

// Four sweeps, with a baseline at the first one; the last is 1.2 s old at 10 s. Three sweeps share
// a column where there are 24 of them.
dashboard small_chip() {
    dashboard shown("sim:zt430,playback", s);
    for (int i = 0; i < 3; ++i) {
        shown.add(sweep_of({module_of("CPU", 0, 1000, 64), module_of("VDEC", 1, 2560),
                            module_of("TSP", 2, 0, {}), module_of("GOP", 3, {}, {}),
                            module_of("FRC", 4, 12), module_of("REF_EMI", 9, 7000)}),
                  0);
    }
    shown.press('b');
    shown.press('j');
    shown.add(sweep_of({module_of("CPU", 0, 1100, 64), module_of("VDEC", 1, 1280),
                        module_of("TSP", 2, 0, {}), module_of("GOP", 3, {}, {}),
                        module_of("FRC", 4, 12), module_of("REF_EMI", 9, 7100)}),
              8'800'000'000);
    return shown;
}

std::string text_of(const top::canvas &screen) {
    std::string text = "\n";
    for (int row = 0; row < screen.size().rows; ++row) {
        text += screen.line(row) + "\n";
    }
    return text;
}

std::string screen_of(dashboard shown, int columns, int rows, glyphs drawn_with) {
    return text_of(top::lay_out(shown, {rows, columns}, drawn_with, 10 * s));
}

}  // namespace

TEST(top_screen, of_80_columns_has_all_columns) {
    EXPECT_EQ(screen_of(small_chip(), 80, 13, glyphs::blocks), R"(
SAFE  [OK]  sim:zt430,playback  usage 50 %  6400 of 12800 MB/s
slack 50 %  6400 MB/s  TIME ?  sweep 300 ms  age 1.2 s
MODULE       MB/s CHANGE vs BASE EFF% UR% PUR% 0-10 %   60 SWEEPS
CPU          1100   +100    +100   64   7   12 ██████▉                        ▇█
VDEC         1280  -1280   -1280   80   7   12 ████████                       █▅
TSP             0      0       0    -   7   12                                ▁▁
GOP             -      -       -    -   7   12
FRC            12      0       0   80   7   12 ▏                              ██
REF_EMI      7100   +100    +100   80   7   12                                ██
SUM          6400      0       0   70   -    -                                ██


q quit  ? help  s by list  Enter ports  b base  p pause  m mark  r rec  +- TIME
)");
}

// The last module is selected, and the lines go on to it.
TEST(top_screen, of_40_columns_and_10_rows_keeps_verdict_sum_and_the_selected_module) {
    dashboard shown = small_chip();
    screen_of(shown, 40, 10, glyphs::blocks);
    shown.press(top::key_end);
    EXPECT_EQ(screen_of(shown, 40, 10, glyphs::blocks), R"(
SAFE  [OK]  sim:zt430,playback
usage 50 %  slack 50 %  TIME ?
sweep 300 ms  age 1.2 s
MODULE       MB/s CHANGE EFF% 0-10 %
VDEC         1280  -1280   80 ██████████
TSP             0      0    -
GOP             -      -    -
FRC            12      0   80 ▏
SUM          6400      0   70
q quit  ? help  s by list  Enter ports
)");
}

TEST(top_screen, tells_what_is_wrong_and_what_goes_on) {
    dashboard shown("sim:x", s);
    EXPECT_EQ(screen_of(shown, 40, 6, glyphs::ascii), R"(
...  [no sweep yet]  sim:x  TIME ?
MODULE       MB/s CHANGE EFF%
SUM             -      -    -


q quit  ? help  s by list  Enter ports
)");
    top::news cut = sweep_of({module_of("CPU", 0, 5)});
    cut.round->total.head = {
        .complete = false, .reasons = {"cut at 4095 bytes"}, .log_seen = false};
    cut.round->total.status.reset();
    cut.round->total.usage.percent.reset();
    cut.state = {.time_ms = 8, .recording = "r", .recorded_bytes = 5000};
    shown.press('p');
    shown.add(cut, 10 * s);
    shown.press('m');
    EXPECT_EQ(screen_of(shown, 60, 8, glyphs::ascii), R"(
?  [CUT, log unseen]  PAUSED  REC 4 KiB  sim:x
usage - %  6400 of 12800 MB/s  slack 50 %  6400 MB/s
TIME 8 ms  sweep 0 ms  age 0.0 s
MODULE       MB/s CHANGE vs BASE EFF% UR% 0-5 %    60 SWEEPv
CPU             5      -       -   80   7 #                #
SUM          6400      -       -   70   -                  #
cut at 4095 bytes
q quit  ? help  s by list  Enter ports  b base  p pause
)");
}

TEST(top_screen, of_ports_has_those_of_all_larbs_and_their_sum) {
    dashboard shown("sim:x", s);
    top::news came = sweep_of({module_of("GOP", 3, 5)});
    shown.add(came, 10 * s);
    shown.press(top::key_enter);
    EXPECT_NE(screen_of(shown, 40, 6, glyphs::ascii).find("\nGOP: measuring ...\n"),
              std::string::npos);
    came.round->ports_of = "3";
    came.round->ports = larb_report{
        .module = "GOP",
        .supported = true,
        .larbs = {{8, {{.port = 0, .read_mbps = 140, .write_mbps = 0, .efficiency_percent = 84}}},
                  {11, {{.port = 31}}}},
        .sum = {260, {}, 309}};
    shown.add(came, 10 * s);
    EXPECT_EQ(screen_of(shown, 40, 9, glyphs::ascii), R"(
SAFE  [OK]  sim:x  usage 50 %
slack 50 %  TIME ?  sweep 300 ms
age 0.0 s
GOP: data 260  eff - %  bus 309 MB/s
LARB PORT   READ  WRITE MAX ns EFF% UR%
   8    0    140      0      -   84   -
  11   31      -      -      -    -   -

q quit  ? help  s by list  Enter back
)");
}

TEST(top_screen, sends_nothing_but_printable_glyphs_whatever_names_hold) {
    dashboard shown("exec:\x1b[31m", s);
    std::string bytes;
    for (int each = 0; each < 256; ++each) {
        bytes += static_cast<char>(each);
    }
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        top::news came = sweep_of({module_of(bytes.substr(i, 8), i, i)});
        came.round->total.status = bytes.substr(i, 8);
        came.message = bytes.substr(i);
        shown.add(came, 10 * s);
        const std::string screen = screen_of(shown, 80, 12, glyphs::ascii);
        EXPECT_TRUE(std::all_of(screen.begin(), screen.end(), [](char each) {
            return each == '\n' || (each >= ' ' && each <= '~');
        })) << i;
    }
    EXPECT_NE(screen_of(shown, 80, 12, glyphs::ascii).find("exec:?[31m"), std::string::npos);
}

// Every page at every size: what has no room is left out, and nothing is written elsewhere.
TEST(top_screen, of_any_size_is_filled_within_its_bounds) {
    for (const int key : {int('x'), int('?'), int(top::key_enter)}) {
        dashboard shown = small_chip();
        shown.press(key);
        for (int columns = 0; columns < 140; columns += 1) {
            for (const int rows : {0, 1, 5, 6, 7, 10, 30}) {
                const std::string screen = screen_of(shown, columns, rows, glyphs::ascii);
                EXPECT_EQ(std::count(screen.begin(), screen.end(), '\n'), rows + 1);
                const bool room = columns >= 20 && rows >= 6;
                EXPECT_EQ(screen.find("q quit") != std::string::npos, room) << columns << rows;
            }
        }
    }
}

}  // namespace ovk::tests
