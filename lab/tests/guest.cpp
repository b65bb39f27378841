// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/guest.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace lab {

namespace {

std::string quoted(const std::string &text) {
    std::string result = "'";
    for (const char each : text) {
        result += each == '\'' ? std::string("'\\''") : std::string(1, each);
    }
    return result + "'";
}

}  // namespace

std::vector<std::string> ending::section_lines(const std::string &name) const {
    return lines_of(section(name));
}

std::string ending::section(const std::string &name) const {
    const std::string head = "@@" + name + "\n";
    const std::size_t found = ("\n" + out).find("\n" + head);

    if (found == std::string::npos) {
        return {};
    }
    const std::size_t start = found + head.size();
    const std::size_t end = out.find("\n@@", start - 1);
    return out.substr(start, end == std::string::npos ? end : end + 1 - start);
}

boot_files::boot_files() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ovk-lab-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no folder for a boot's files");
    }
    folder_ = pattern;
}

boot_files::~boot_files() {
    std::filesystem::remove_all(folder_);
}

ending run(const boot_files &files, const std::vector<std::string> &options,
           const std::string &commands) {
    write_file(files.path("script"), commands);
    const bool of_debian = std::isdigit(release().front()) != 0;
    std::string command = quoted(OVK_SOURCE_DIR "/run") + " kernel " +
                          (of_debian ? "--release " : "--build ") + release() + " --script " +
                          quoted(files.path("script")) + " --log " + quoted(files.path("console")) +
                          " --registers " + quoted(files.path("registers"));
    for (const std::string &each : options) {
        command += " " + quoted(each);
    }
    command += " >" + quoted(files.path("out")) + " 2>" + quoted(files.path("err"));
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content_of(files.path("out")),
            content_of(files.path("err")), content_of(files.path("console"))};
}

ending run(const std::vector<std::string> &options, const std::string &commands) {
    const boot_files files;
    return run(files, options, commands);
}

std::string content_of(const std::string &file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;

    text << in.rdbuf();
    return text.str();
}

void write_file(const std::string &file, const std::string &content) {
    std::ofstream out(file, std::ios::binary);

    out << content << std::flush;
    if (!out) {
        throw std::runtime_error(file + ": cannot be written");
    }
}

std::vector<std::string> lines_of(const std::string &text) {
    std::istringstream in(text);
    std::vector<std::string> result;

    for (std::string line; std::getline(in, line);) {
        result.push_back(line);
    }
    return result;
}

std::string release() {
    const char *wanted = std::getenv("OVK_LAB_RELEASE");
    return wanted == nullptr ? "6.1" : wanted;
}

}  // namespace lab
