// SPDX-License-Identifier: GPL-2.0-only
// A folder for one test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace ovk::tests {

class scratch {
  public:
    scratch() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ovk-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no folder for a test's files");
        }
        folder_ = pattern;
    }
    ~scratch() { std::filesystem::remove_all(folder_); }
    scratch(const scratch &) = delete;
    scratch &operator=(const scratch &) = delete;

    std::string path(const std::string &name = "") const { return folder_ + "/" + name; }

    // Returns its path.
    std::string put(const std::string &name, const std::string &content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    // A program of the shell.
    void put_program(const std::string &name, const std::string &commands) const {
        std::filesystem::permissions(put(name, "#!/bin/sh\n" + commands + "\n"),
                                     std::filesystem::perms::owner_all);
    }

    std::string content(const std::string &name) const {
        std::ostringstream text;
        text << std::ifstream(path(name), std::ios::binary).rdbuf();
        return text.str();
    }

  private:
    std::string folder_;
};

}  // namespace ovk::tests
