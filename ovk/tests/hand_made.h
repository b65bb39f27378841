// SPDX-License-Identifier: GPL-2.0-only
// Recordings that a test makes up.
#pragma once

#include <cerrno>
#include <tuple>

#include "ovk/source/recording.h"
#include "ovk/tests/scratch.h"

namespace ovk {

inline bool operator==(const operation &one, const operation &other) {
    const auto fields = [](const operation &of) {
        return std::tie(of.is_write, of.is_mark, of.attribute, of.written, of.came.text,
                        of.came.error, of.came.start_ns, of.came.end_ns, of.log);
    };
    return fields(one) == fields(other);
}

}  // namespace ovk

namespace ovk::tests {

inline std::string simple_row(const std::string &name, unsigned mbps) {
    const std::string rate = std::to_string(mbps);
    return name + std::string(10 - name.size(), ' ') + ": " + std::string(6 - rate.size(), ' ') +
           rate + " MB/s\n";
}

// A second after another, from 100 s on.
inline operation simple_view(std::size_t second, const std::string &rows, unsigned usage) {
    const std::string percent = std::to_string(usage);
    const std::int64_t start = static_cast<std::int64_t>(100 + second) * 1'000'000'000;
    return {.attribute = "bw_total",
            .came = {"\n" + rows + "\nTotal     :   1000 MB/s (100%)\nUseage    :    500 MB/s (" +
                         std::string(3 - percent.size(), ' ') + percent +
                         "%)\nSlack     :    500 MB/s ( 50%)\n",
                     0, start, start + 500'000'000},
            .log = std::vector<std::string>()};
}

const operation timed_out_bus = {.attribute = "bw_bus",
                                 .came = {"", ETIMEDOUT, 0, 1},
                                 .log = std::vector<std::string>{"[OVK_BW]EMI monitor time out"}};

// Returns its path.
inline std::string recording_of(const scratch &files, const std::string &name,
                                const std::vector<operation> &operations,
                                const recording_header &header = {.source = "made up"}) {
    recording_writer writer(files.path(name), header);
    for (const operation &each : operations) {
        writer.add(each);
    }
    return files.path(name);
}

inline std::vector<operation> operations_of(const std::string &file) {
    recording_reader reader(file);
    std::vector<operation> found;
    while (auto each = reader.next()) {
        found.push_back(*each);
    }
    return found;
}

}  // namespace ovk::tests
