// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/source/recording.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "ovk/base/failure.h"
#include "ovk/base/write_all.h"
#include "ovk/source/recording_text.h"

namespace ovk {

template <class T>
static T understood(const std::string &name, const std::string &line, T (*parse)(const json &)) {
    try {
        return parse(json::parse(line));
    } catch (const json::exception &error) {
        throw failure(exit_status::unreachable, name + "damaged: " + error.what());
    } catch (const failure &error) {
        throw failure(error.status(), name + error.what());
    }
}

recording_reader::recording_reader(const std::string &file)
    : file_(file), in_(file, std::ios::binary) {
    std::string line;

    const int error = !in_ ? errno : std::filesystem::is_directory(file) ? EISDIR : 0;
    if (error != 0) {
        throw failure(exit_status::unreachable, file + ": can't be read: " + std::strerror(error) +
                                                    "; ovk record writes recordings");
    }
    if (!read_line(line)) {
        throw failure(exit_status::unreachable,
                      file + ": no recording, or one that ended before its first line");
    }
    header_ = understood(name_of_line(), line, header_of);
}

std::optional<operation> recording_reader::next() {
    std::string line;

    if (!read_line(line)) {
        return std::nullopt;
    }
    return understood(name_of_line(), line, operation_of);
}

std::string recording_reader::name_of_line() const {
    return file_ + ", line " + std::to_string(line_) + ": ";
}

// False at the end, and for a line that has none.
bool recording_reader::read_line(std::string &line) {
    if (!std::getline(in_, line) || in_.eof()) {
        return false;
    }
    ++line_;
    return true;
}

recording_reader::place recording_reader::here() {
    in_.clear();
    return {in_.tellg(), line_};
}

void recording_reader::go_back(const place &where) {
    in_.clear();
    in_.seekg(where.position);
    line_ = where.line;
}

recording_writer::recording_writer(const std::string &file, const recording_header &header)
    : file_(file),
      descriptor_(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666)) {
    if (descriptor_ < 0) {
        throw failure(exit_status::usage,
                      file + ": can't be written: " + std::strerror(errno) + "; name another file");
    }
    write_line(json_of(header).dump());
}

recording_writer::~recording_writer() {
    close(descriptor_);
}

void recording_writer::add(const operation &done) {
    write_line(json_of(done).dump());
}

void recording_writer::write_line(const std::string &line) {
    const std::string whole = line + "\n";

    if (!write_all(descriptor_, whole)) {
        throw failure(exit_status::unreachable,
                      file_ + ": can't be written: " + std::strerror(errno));
    }
    bytes_ += whole.size();
}

}  // namespace ovk
