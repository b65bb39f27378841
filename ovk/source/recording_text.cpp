// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/recording_text.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

#include "ovk/base/failure.h"

namespace ovk {

namespace {

constexpr int recording_format = 1;

bool is_utf8(const std::string &bytes) {
    try {
        static_cast<void>(json(bytes).dump());
        return true;
    } catch (const json::type_error &) {
        return false;
    }
}

std::string hexadecimal(const std::string &bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;

    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        text += digits[byte >> 4];
        text += digits[byte & 0xf];
    }
    return text;
}

std::string from_hexadecimal(const std::string &digits) {
    std::string bytes;

    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const std::string pair = digits.substr(i, 2);
        unsigned char byte = 0;
        const auto [end, error] = std::from_chars(pair.data(), pair.data() + pair.size(), byte, 16);
        if (error != std::errc() || end != pair.data() + 2) {
            throw failure(exit_status::unreachable, "'" + pair + "' is no hexadecimal byte");
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

json json_of_log(const std::optional<std::vector<std::string>> &log) {
    json lines = json::array();

    if (!log) {
        return nullptr;
    }
    for (const std::string &each : *log) {
        lines.push_back(json_of_bytes(each));
    }
    return lines;
}

std::optional<std::vector<std::string>> log_of(const json &value) {
    std::vector<std::string> lines;

    if (value.is_null()) {
        return std::nullopt;
    }
    for (const json &each : value) {
        lines.push_back(bytes_of_json(each));
    }
    return lines;
}

json json_of_answer(const answer &came) {
    return {{"start_ns", came.start_ns},
            {"end_ns", came.end_ns},
            {"error", came.error},
            {"text", json_of_bytes(came.text)}};
}

// A number that a conversion would change is none.
template <class number>
number number_of(const json &value) {
    if (!value.is_number_unsigned() ||
        value.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<number>::max()}) {
        throw failure(exit_status::unreachable,
                      value.dump() + " is no number that can stand there");
    }
    return value.get<number>();
}

answer answer_of(const json &line) {
    return {.text = bytes_of_json(line.at("text")),
            .error = number_of<int>(line.at("error")),
            .start_ns = number_of<std::int64_t>(line.at("start_ns")),
            .end_ns = number_of<std::int64_t>(line.at("end_ns"))};
}

}  // namespace

json json_of_bytes(const std::string &bytes) {
    return is_utf8(bytes) ? json(bytes) : json{{"hex", hexadecimal(bytes)}};
}

std::string bytes_of_json(const json &value) {
    return value.is_object() ? from_hexadecimal(value.at("hex").get<std::string>())
                             : value.get<std::string>();
}

json json_of(const recording_header &header) {
    json line = {{"ovk_recording", recording_format},
                 {"version", header.version},
                 {"source", json_of_bytes(header.source)}};

    for (const char *what : fact_names) {
        const auto fact = header.facts.find(what);
        line[what] = fact == header.facts.end() || fact->second.empty()
                         ? json(nullptr)
                         : json_of_bytes(fact->second);
    }
    line["ip_config"] = json_of_answer(header.ip_config);
    line["clock"] = {{"boot_ns", header.boot_ns}, {"utc", header.utc}};
    line["attributes"] = header.attributes;
    line["settings"] = json::object();
    for (const auto &[attribute, came] : header.settings) {
        line["settings"][attribute] = json_of_answer(came);
    }
    line["unreadable"] = header.unreadable;
    return line;
}

json json_of(const operation &done) {
    json line = {{"op", done.is_mark    ? "mark"
                        : done.is_write ? "write"
                                        : "read"},
                 {"attribute", done.attribute}};

    if (done.is_write || done.is_mark) {
        line["written"] = json_of_bytes(done.written);
    }
    line.update(json_of_answer(done.came));
    line["log"] = json_of_log(done.log);
    return line;
}

recording_header header_of(const json &line) {
    recording_header header;

    if (line.at("ovk_recording") != recording_format) {
        throw failure(exit_status::unreachable, "its format is not number " +
                                                    std::to_string(recording_format) +
                                                    ", the one that this ovk reads");
    }
    header.version = line.at("version");
    header.source = bytes_of_json(line.at("source"));
    for (const char *what : fact_names) {
        header.facts[what] = line.at(what).is_null() ? "" : bytes_of_json(line.at(what));
    }
    header.boot_ns = number_of<std::int64_t>(line.at("clock").at("boot_ns"));
    header.utc = line.at("clock").at("utc");
    header.attributes = line.at("attributes").get<std::vector<std::string>>();
    header.ip_config = answer_of(line.at("ip_config"));
    for (const auto &[attribute, came] : line.at("settings").items()) {
        header.settings[attribute] = answer_of(came);
    }
    header.unreadable = line.at("unreadable").get<std::vector<std::string>>();
    return header;
}

operation operation_of(const json &line) {
    operation done;

    done.is_write = line.at("op") == "write";
    done.is_mark = line.at("op") == "mark";
    if (!done.is_write && !done.is_mark && line.at("op") != "read") {
        throw failure(exit_status::unreachable, "its operation is neither read, write nor mark");
    }
    done.attribute = line.at("attribute");
    done.written = done.is_write || done.is_mark ? bytes_of_json(line.at("written")) : "";
    done.came = answer_of(line);
    done.log = log_of(line.at("log"));
    return done;
}

}  // namespace ovk
