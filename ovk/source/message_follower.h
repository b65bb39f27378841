// SPDX-License-Identifier: GPL-2.0-only
// What is new in a kernel log that can only be had as a whole, by the time stamps that dmesg
// prints: "[   12.345678] text".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ovk {

class message_follower {
  public:
    // From the log's last lines; its messages from then on are new. False: there are lines, but no
    // time stamps to go by.
    bool start(const std::string &last_lines);

    // A script for sed -n: prints from the last known message on. With nothing known, all.
    std::string filter() const;

    // New messages without their stamps, from what the filter let through; nothing when the last
    // known one was not among it, as the log has been emptied or has come round.
    std::optional<std::vector<std::string>> take(const std::string &filtered);

    // The same from the whole log: those with a later stamp.
    std::vector<std::string> take_later(const std::string &whole);

  private:
    struct message {
        std::string stamp;  // as it is printed, without the brackets
        std::int64_t us;
        std::string text;
    };
    static std::vector<message> messages_in(const std::string &text);
    void remember(const std::vector<message> &messages);

    std::string stamp_;  // of the last known message; empty: none
    std::int64_t us_ = -1;
    std::size_t known_ = 0;  // messages with that stamp
};

}  // namespace ovk
