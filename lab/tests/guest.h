// SPDX-License-Identifier: GPL-2.0-only
// A test that boots the emulated machine, from power-on to power-off.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lab {

using lines = std::vector<std::string>;

class guest : public testing::Test {
  protected:
    guest();
    ~guest() override;

    // A file of this test's own. A boot leaves "log", "registers" and "runs" there, what the
    // options of ./run kernel by these names are for.
    std::string path(const std::string &file) const { return folder_ + "/" + file; }

    // Runs the commands in the guest and expects them to succeed. What they printed.
    std::string run(const lines &options, const std::string &commands) const;

  private:
    std::string folder_;
};

// What the commands printed after a line "@@NAME", up to the next "@@".
std::string section(const std::string &printed, const std::string &name);

std::string content_of(const std::string &file);
void write_file(const std::string &file, const std::string &content);
lines lines_of(const std::string &text);

// As ovk-session wants texts.
std::string hexadecimal(const std::string &text);

// The kernel that the guest boots: a release of Debian's, or a build of the lab's own.
std::string release();

}  // namespace lab
