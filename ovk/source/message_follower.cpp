// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/message_follower.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace ovk {

namespace {

constexpr std::int64_t us_per_s = 1'000'000;
constexpr std::int64_t most_seconds = 1'000'000'000;  // no machine is up for 31 years
constexpr std::size_t digits_of_us = 6;

// "   12.345678", or nothing.
std::optional<std::int64_t> us_of_stamp(const std::string &stamp) {
    const char *const last = stamp.data() + stamp.size();
    const char *first = std::find_if(stamp.data(), last, [](char each) { return each != ' '; });
    std::int64_t seconds = 0;
    std::int64_t us = 0;
    const auto [point, error] = std::from_chars(first, last, seconds);

    if (error != std::errc() || seconds < 0 || seconds > most_seconds ||
        last - point != 1 + digits_of_us || *point != '.' ||
        std::from_chars(point + 1, last, us).ptr != last) {
        return std::nullopt;
    }
    return seconds * us_per_s + us;
}

}  // namespace

// A line without a stamp belongs to the message before it.
std::vector<message_follower::message> message_follower::messages_in(const std::string &text) {
    std::istringstream stream(text);
    std::vector<message> found;

    for (std::string line; std::getline(stream, line);) {
        const std::size_t end = line.find(']');
        const std::string stamp =
            line.starts_with('[') && end != std::string::npos ? line.substr(1, end - 1) : "";
        if (const auto us = us_of_stamp(stamp)) {
            found.push_back({stamp, *us, line.substr(std::min(end + 2, line.size()))});
        } else if (!found.empty()) {
            found.back().text += "\n" + line;
        }
    }
    return found;
}

bool message_follower::start(const std::string &last_lines) {
    const auto messages = messages_in(last_lines);

    remember(messages);
    return last_lines.empty() || !messages.empty();
}

std::string message_follower::filter() const {
    std::string pattern;

    for (const char each : stamp_) {
        pattern += each == '.' ? "\\." : std::string(1, each);
    }
    return stamp_.empty() ? "p" : "/^\\[" + pattern + "\\]/,$p";
}

void message_follower::remember(const std::vector<message> &messages) {
    if (!messages.empty()) {
        stamp_ = messages.back().stamp;
        us_ = messages.back().us;
        known_ = static_cast<std::size_t>(
            std::count_if(messages.begin(), messages.end(),
                          [this](const message &each) { return each.us == us_; }));
    }
}

std::optional<std::vector<std::string>> message_follower::take(const std::string &filtered) {
    const auto messages = messages_in(filtered);
    std::vector<std::string> found;

    if (messages.size() < known_) {
        return std::nullopt;
    }
    for (std::size_t i = known_; i < messages.size(); ++i) {
        found.push_back(messages[i].text);
    }
    remember(messages);
    return found;
}

std::vector<std::string> message_follower::take_later(const std::string &whole) {
    const auto messages = messages_in(whole);
    std::vector<std::string> found;

    for (const message &each : messages) {
        if (each.us > us_) {
            found.push_back(each.text);
        }
    }
    remember(messages);
    return found;
}

}  // namespace ovk
