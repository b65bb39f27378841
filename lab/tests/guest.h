// SPDX-License-Identifier: GPL-2.0-only
// A boot of the emulated machine for a test, from power-on to power-off.
#pragma once

#include <string>
#include <vector>

namespace lab {

struct ending {
    int status;  // of the commands, or what ./run kernel says about its own failures
    std::string out;
    std::string err;
    std::string console;

    // What the commands printed after a line "@@NAME", up to the next such line.
    std::string section(const std::string &name) const;
    std::vector<std::string> section_lines(const std::string &name) const;
};

// What several processes must not share.
class boot_files {
  public:
    boot_files();
    ~boot_files();
    boot_files(const boot_files &) = delete;
    boot_files &operator=(const boot_files &) = delete;

    std::string path(const std::string &name) const { return folder_ + "/" + name; }

  private:
    std::string folder_;
};

// Runs the commands in the guest; the folder keeps script, console, output and registers.
ending run(const boot_files &files, const std::vector<std::string> &options,
           const std::string &commands);
ending run(const std::vector<std::string> &options, const std::string &commands);

std::string content_of(const std::string &file);
void write_file(const std::string &file, const std::string &content);
std::vector<std::string> lines_of(const std::string &text);

// The kernel's release that the guest boots.
std::string release();

}  // namespace lab
