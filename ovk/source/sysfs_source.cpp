// SPDX-License-Identifier: GPL-2.0-only
// The attributes of this machine's own kernel, or files of another directory.
#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "ovk/base/failure.h"
#include "ovk/base/open_file.h"
#include "ovk/base/write_all.h"
#include "ovk/source/attribute_names.h"
#include "ovk/source/kernel_messages.h"
#include "ovk/source/openers.h"

namespace ovk {

namespace {

constexpr std::size_t page = 4096;

// One open, reads to the end, one close.
int read_whole(const std::string &path, std::string &text) {
    const open_file file(path, O_RDONLY);
    std::array<char, 2 * page> part;
    ssize_t count = 0;

    if (!file.good()) {
        return errno;
    }
    while ((count = ::read(file.descriptor(), part.data(), part.size())) > 0) {
        text.append(part.data(), static_cast<std::size_t>(count));
    }
    return count < 0 ? errno : 0;
}

// Of an empty text nothing is written.
int write_whole(const std::string &path, std::string_view text) {
    const open_file file(path, O_WRONLY | O_TRUNC);
    return file.good() && write_all(file.descriptor(), text) ? 0 : errno;
}

std::string content_of(const char *path) {
    std::string text;
    return read_whole(path, text) == 0 ? first_line(text) : "";
}

std::string kernel_release() {
    utsname system = {};
    return uname(&system) == 0 ? system.release : "";
}

class sysfs_source : public source {
  public:
    sysfs_source(std::string name, std::string directory)
        : name_(std::move(name)), directory_(std::move(directory)) {
        if (!std::filesystem::is_directory(directory_)) {
            throw failure(exit_status::unreachable,
                          name_ + ": there is no " + directory_ +
                              "; load the module ovk_bw, or name another source with -s");
        }
    }

    std::string name() const override { return name_; }

    answer read(std::string_view attribute) override {
        answer result;
        result.start_ns = now();
        result.error = read_whole(path_of(attribute), result.text);
        result.end_ns = now();
        return result;
    }

    answer write(std::string_view attribute, std::string_view text) override {
        answer result;
        result.start_ns = now();
        result.error = write_whole(path_of(attribute), text);
        result.end_ns = now();
        return result;
    }

    std::vector<std::string> log() override { return messages_.take(); }
    bool has_log() override { return messages_.good(); }

    std::int64_t now() override {
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
    }

    // One write a line: that is how the kernel tells them apart.
    bool mark_trace(const std::vector<std::string> &lines) override {
        return std::all_of(lines.begin(), lines.end(), [](const std::string &line) {
            return write_whole(trace_marker_file, line) == 0;
        });
    }

    std::vector<std::string> attributes() override {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(directory_)) {
            if (entry.is_regular_file() && !entry.is_symlink()) {
                names.push_back(entry.path().filename());
            }
        }
        return attributes_among(std::move(names));
    }

    std::string fact(std::string_view what) override {
        return what == "kernel_release"    ? kernel_release()
               : what == "module_version"  ? content_of(module_version_file)
               : what == "chip_compatible" ? content_of(compatible_file)
                                           : "";
    }

  private:
    std::string path_of(std::string_view attribute) const {
        return directory_ + "/" + checked_name(name_, attribute);
    }

    std::string name_;
    std::string directory_;
    kernel_messages messages_;
};

}  // namespace

std::unique_ptr<source> open_sysfs(const std::string &name, const std::string &rest) {
    return std::make_unique<sysfs_source>(name, rest.empty() ? attribute_directory : rest);
}

}  // namespace ovk
