// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/shell_link.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#include "ovk/base/failure.h"
#include "ovk/source/octal_dump.h"

namespace ovk {

namespace {

// Time for a password to be typed; a program that is no shell would never answer.
constexpr milliseconds greeting_limit{60'000};
constexpr std::size_t longest_line = 65536;
constexpr std::size_t most_lines = 1'000'000;  // 16 MB; a kernel's whole log is a tenth of that
// A terminal on the way may cut longer lines than 255 bytes.
constexpr std::size_t bytes_per_line = 40;

// Short lines, and nothing but what POSIX has. ovk_frame NUMBER COMMAND...: descriptor 3 is the
// way out, 4 collects messages and statuses, first of the command and then of od.
constexpr const char *definitions = R"(PS1= PS2= LC_ALL=C
export LC_ALL
stty -echo 2>/dev/null
exec 3>&1
ovk_clock() { ovk_now=; read -r ovk_now ovk_idle </proc/uptime; }
ovk_put() {
[ -e "$1" ] || { echo "$1: No such file or directory" >&2; return 1; }
printf %b "$ovk_text" | cat >"$1"
}
ovk_list() {
for ovk_file in "$1"/*; do
if [ -f "$ovk_file" ] && [ ! -L "$ovk_file" ]
then echo "${ovk_file##*/}"
fi
done
}
ovk_since() { dmesg | sed -n "$1"; }
ovk_last() { dmesg | tail -n 40; }
ovk_statuses() { false; ovk_false=$?; true; echo "$ovk_false $?"; }
ovk_frame() {
printf '\novk %s begin\n' "$1"
ovk_number=$1
shift
ovk_clock
ovk_start=$ovk_now
ovk_end=$( { { "$@" 2>&4; echo "$?" >&4; } | od -v -b >&3
echo "$?" >&4; } 4>&1 )
ovk_clock
printf 'ovk %s then\n' "$ovk_number"
printf '%s %s\n%s' "$ovk_start" "$ovk_now" "$ovk_end" | od -v -b
printf 'ovk %s end\n' "$ovk_number"
}
)";

// "12345.67" seconds.
std::optional<std::int64_t> ns_of_uptime(const std::string &word) {
    constexpr std::int64_t ns_per_s = 1'000'000'000;
    constexpr std::int64_t ns_per_hundredth = ns_per_s / 100;
    constexpr std::int64_t most_seconds = 1'000'000'000;  // no machine is up for 31 years
    const char *const last = word.data() + word.size();
    std::int64_t seconds = 0;
    std::int64_t hundredths = 0;
    const auto [point, error] = std::from_chars(word.data(), last, seconds);

    if (error != std::errc() || seconds < 0 || seconds > most_seconds || last - point != 3 ||
        *point != '.' || std::from_chars(point + 1, last, hundredths).ptr != last) {
        return std::nullopt;
    }
    return seconds * ns_per_s + hundredths * ns_per_hundredth;
}

std::string one_line(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.pop_back();
    }
    std::replace(text.begin(), text.end(), '\n', ';');
    std::erase(text, '\r');
    return text;
}

// The last line, taken away.
std::string take_last_line(std::string &text) {
    const std::size_t before = text.rfind('\n');
    std::string line = before == std::string::npos ? text : text.substr(before + 1);
    text.erase(before == std::string::npos ? 0 : before);
    return line;
}

}  // namespace

shell_link::shell_link(std::string name, const std::vector<std::string> &program)
    : name_(std::move(name)),
      program_(program),
      greeting_end_(std::chrono::steady_clock::now() + greeting_limit) {
    send(definitions);
    greet();
    greeting_end_.reset();
}

void shell_link::greet() {
    const shell_answer came = run("ovk_statuses");

    if (!came.succeeded || came.output != "1 0\n") {
        give_up("its shell does not tell how commands ended");
    }
}

void shell_link::give_up(const std::string &reason) const {
    const std::string said = one_line(program_.complaints());

    throw failure(exit_status::unreachable,
                  name_ + ": " + reason + (said.empty() ? "" : " (" + said + ")") +
                      "; try the link by hand: it has to lead to a POSIX shell");
}

void shell_link::send(const std::string &text) {
    if (!program_.send(text)) {
        give_up("the link broke");
    }
}

void shell_link::load_text(std::string_view bytes) {
    std::string assignments = "ovk_text=\n";

    for (std::size_t i = 0; i < bytes.size(); i += bytes_per_line) {
        assignments += "ovk_text=\"$ovk_text\"'";
        for (const char each : bytes.substr(i, bytes_per_line)) {
            const auto byte = static_cast<unsigned char>(each);
            assignments += "\\0";
            for (const int shift : {6, 3, 0}) {
                assignments += static_cast<char>('0' + (byte >> shift & 7));
            }
        }
        assignments += "'\n";
    }
    send(assignments);
}

shell_answer shell_link::run(const std::string &command) {
    const std::string mark = "ovk " + std::to_string(++number_) + " ";

    send("ovk_frame " + std::to_string(number_) + " " + command + "\n");
    skip_to(mark + "begin");
    const lines output = lines_until(mark + "then");
    const lines ending = lines_until(mark + "end");
    return answer_from(output, ending);
}

shell_answer shell_link::answer_from(const lines &output, const lines &ending) {
    const auto printed = bytes_of_dump(output);
    const auto ended = bytes_of_dump(ending);
    shell_answer answer;

    if (!printed || !ended) {
        give_up("what came is no answer");
    }
    std::istringstream clock(*ended);
    std::string start;
    std::string end;
    clock >> start >> end;
    const auto start_ns = ns_of_uptime(start);
    const auto end_ns = ns_of_uptime(end);
    answer.messages = ended->substr(std::min(ended->find('\n') + 1, ended->size()));
    const std::string dump_status = take_last_line(answer.messages);
    const std::string status = take_last_line(answer.messages);
    if (!start_ns || !end_ns || dump_status != "0" || status.empty()) {
        give_up("what came is no answer");
    }
    answer.output = *printed;
    answer.succeeded = status == "0";
    answer.start_ns = *start_ns;
    answer.end_ns = *end_ns;
    return answer;
}

// A mark of this turn that is not the one to come shows that one was lost.
void shell_link::skip_to(const std::string &mark) {
    const std::string turn = mark.substr(0, mark.rfind(' ') + 1);

    for (std::string line = next_line(); line != mark; line = next_line()) {
        if (line.starts_with(turn)) {
            give_up("what came is no answer");
        }
    }
}

shell_link::lines shell_link::lines_until(const std::string &mark) {
    lines found;

    for (std::string line = next_line(); line != mark; line = next_line()) {
        found.push_back(std::move(line));
        if (found.back().starts_with("ovk ") || found.size() > most_lines) {
            give_up("what came is no answer");
        }
    }
    return found;
}

milliseconds shell_link::time_left() const {
    if (!greeting_end_) {
        return for_ever;
    }
    const auto left = *greeting_end_ - std::chrono::steady_clock::now();
    return std::max(milliseconds::zero(), std::chrono::ceil<milliseconds>(left));
}

// Without carriage returns.
std::string shell_link::next_line() {
    std::size_t end = 0;

    while ((end = received_.find('\n')) == std::string::npos) {
        const auto more = program_.receive(time_left());
        if (!more) {
            give_up("no shell answers");
        }
        if (more->empty() || received_.size() > longest_line) {
            give_up(more->empty() ? "the link ended" : "what came is no answer");
        }
        received_ += *more;
    }
    std::string line = received_.substr(0, end);
    received_.erase(0, end + 1);
    std::erase(line, '\r');
    return line;
}

}  // namespace ovk
