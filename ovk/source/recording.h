// SPDX-License-Identifier: GPL-2.0-only
// A recording: JSON Lines, a header and then a line an operation, in their order. It holds what the
// attributes said, never what was made of it. docs/ovk.md describes the lines.
#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ovk/source/source.h"

namespace ovk {

struct operation {
    bool is_write = false;
    bool is_mark = false;  // made by somebody who watched; no attribute
    std::string attribute = {};
    std::string written = {};  // of a write, or what a mark says
    answer came = {};
    // The kernel's messages; nothing where they can't be seen.
    std::optional<std::vector<std::string>> log = {};
};

// What source::fact is asked for.
constexpr const char *fact_names[] = {"kernel_release", "module_version", "chip_compatible"};

struct recording_header {
    std::string version = {};  // of ovk
    std::string source = {};
    std::map<std::string, std::string> facts = {};  // see source::fact
    std::int64_t boot_ns = 0;                       // the source's clock,
    std::string utc = {};                           // and ours at that moment
    std::vector<std::string> attributes = {};
    answer ip_config = {};
    std::map<std::string, answer> settings = {};  // by attribute, as read at the beginning
    std::vector<std::string> unreadable = {};     // settings that no attribute shows
};

class recording_reader {
  public:
    // Throws failure(unreachable) for what is no recording.
    explicit recording_reader(const std::string &file);

    const recording_header &header() const { return header_; }

    // The next operation; nothing at the end. A last line without an end was torn off, and is not
    // there. Throws failure(unreachable) for a line that is damaged otherwise.
    std::optional<operation> next();

    // A place to come back to.
    struct place {
        std::streampos position;
        std::size_t line;
    };
    place here();
    void go_back(const place &where);

  private:
    std::string name_of_line() const;
    bool read_line(std::string &line);

    std::string file_;
    std::ifstream in_;
    std::size_t line_ = 0;
    recording_header header_;
};

// Who is told of operations as they are carried out.
class operation_sink {
  public:
    virtual ~operation_sink() = default;
    virtual void add(const operation &done) = 0;
};

// Writes every line whole and at once, so that the file can be read while it grows.
class recording_writer : public operation_sink {
  public:
    // Throws failure(usage) when the file can't be written.
    recording_writer(const std::string &file, const recording_header &header);
    ~recording_writer() override;
    recording_writer(const recording_writer &) = delete;
    recording_writer &operator=(const recording_writer &) = delete;

    void add(const operation &done) override;

    std::size_t bytes() const { return bytes_; }

  private:
    void write_line(const std::string &line);

    std::string file_;
    int descriptor_;
    std::size_t bytes_ = 0;
};

}  // namespace ovk
