// SPDX-License-Identifier: GPL-2.0-only
#include "lab/tests/guest.h"

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace lab {

guest::guest() : folder_(testing::TempDir() + "ovk-lab-XXXXXX") {
    if (mkdtemp(folder_.data()) == nullptr) {
        throw std::runtime_error("no folder for a boot's files");
    }
}

guest::~guest() {
    std::filesystem::remove_all(folder_);
}

std::string guest::run(const lines &options, const std::string &commands) const {
    const bool of_debian = std::isdigit(release().front()) != 0;
    std::string command = "'" OVK_SOURCE_DIR "/run' kernel";
    lines arguments = {of_debian ? "--release" : "--build", release(), "--timeout", "600"};

    for (const std::string file : {"script", "log", "registers", "runs"}) {
        arguments.insert(arguments.end(), {"--" + file, path(file)});
    }
    arguments.insert(arguments.end(), options.begin(), options.end());
    for (const std::string &each : arguments) {
        command += " '" + each + "'";
    }
    write_file(path("script"), commands);
    EXPECT_EQ(std::system((command + " >" + path("out") + " 2>" + path("err")).c_str()), 0)
        << content_of(path("err"));
    return content_of(path("out"));
}

std::string section(const std::string &printed, const std::string &name) {
    const std::string head = "@@" + name + "\n";
    const std::size_t found = printed.find(head);

    if (found == std::string::npos) {
        return "";
    }
    const std::size_t start = found + head.size();
    return printed.substr(start, printed.find("@@", start) - start);
}

std::string content_of(const std::string &file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;

    text << in.rdbuf();
    return text.str();
}

void write_file(const std::string &file, const std::string &content) {
    std::ofstream(file, std::ios::binary) << content;
}

lines lines_of(const std::string &text) {
    std::istringstream in(text);
    lines result;

    for (std::string line; std::getline(in, line);) {
        result.push_back(line);
    }
    return result;
}

std::string hexadecimal(const std::string &text) {
    std::string digits;

    for (const unsigned char byte : text) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", byte);
        digits += pair;
    }
    return digits;
}

std::string release() {
    const char *wanted = std::getenv("OVK_LAB_RELEASE");
    return wanted == nullptr ? "6.1" : wanted;
}

}  // namespace lab
