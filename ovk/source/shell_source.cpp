// SPDX-License-Identifier: GPL-2.0-only
// The attributes of another machine, through a shell there.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "ovk/base/failure.h"
#include "ovk/source/attribute_names.h"
#include "ovk/source/message_follower.h"
#include "ovk/source/openers.h"
#include "ovk/source/shell_link.h"

namespace ovk {

namespace {

using words = std::vector<std::string>;

// As the C libraries of Linux and Android say it; some have two ways.
struct reason {
    const char *text;
    int error;
};

constexpr reason reasons[] = {
    {"Operation not permitted", EPERM},
    {"No such file or directory", ENOENT},
    {"Interrupted system call", EINTR},
    {"Input/output error", EIO},
    {"I/O error", EIO},
    {"Cannot allocate memory", ENOMEM},
    {"Out of memory", ENOMEM},
    {"Permission denied", EACCES},
    {"Resource busy", EBUSY},
    {"resource busy", EBUSY},
    {"No such device or address", ENXIO},
    {"No such device", ENODEV},
    {"Is a directory", EISDIR},
    {"Invalid argument", EINVAL},
    {"No space left on device", ENOSPC},
    {"Connection timed out", ETIMEDOUT},
    {"Operation timed out", ETIMEDOUT},
};

int errno_of(const std::string &messages) {
    const auto *found = std::find_if(
        std::begin(reasons), std::end(reasons),
        [&](const reason &each) { return messages.find(each.text) != std::string::npos; });
    return found == std::end(reasons) ? 0 : found->error;
}

std::string as_word(const std::string &text) {
    std::string result = "'";
    for (const char each : text) {
        result += each == '\'' ? std::string("'\\''") : std::string(1, each);
    }
    return result + "'";
}

// For directories that are not where the kernel has them.
std::string directory() {
    const char *wanted = std::getenv("OVK_DIRECTORY");
    return wanted == nullptr ? attribute_directory : wanted;
}

class shell_source : public source {
  public:
    shell_source(std::string name, const words &program)
        : name_(std::move(name)), link_(name_, program), directory_(directory()) {
        const shell_answer there = link_.run("[ -d " + as_word(directory_) + " ]");
        if (!there.succeeded) {
            throw failure(exit_status::unreachable,
                          name_ + ": there is no " + directory_ + "; load the module ovk_bw there");
        }
        const shell_answer last = link_.run("ovk_last");
        has_log_ = is_clean(last) && messages_.start(last.output);
        log();
    }

    std::string name() const override { return name_; }

    answer read(std::string_view attribute) override {
        return answer_of(attribute, link_.run("cat " + path_of(attribute)));
    }

    answer write(std::string_view attribute, std::string_view text) override {
        link_.load_text(text);
        return answer_of(attribute, link_.run("ovk_put " + path_of(attribute)));
    }

    std::vector<std::string> log() override {
        if (!has_log_) {
            return {};
        }
        if (const auto found = messages_.take(log_text(messages_.filter()))) {
            return *found;
        }
        return messages_.take_later(log_text("p"));
    }

    bool has_log() override { return has_log_; }

    std::int64_t now() override { return link_.run("true").end_ns; }

    bool mark_trace(const std::vector<std::string> &lines) override {
        return std::all_of(lines.begin(), lines.end(), [&](const std::string &line) {
            link_.load_text(line);
            return is_clean(link_.run(std::string("ovk_put ") + trace_marker_file));
        });
    }

    std::vector<std::string> attributes() override {
        std::istringstream listed(link_.run("ovk_list " + as_word(directory_)).output);
        words names;
        for (std::string each; std::getline(listed, each);) {
            names.push_back(each);
        }
        return attributes_among(std::move(names));
    }

    std::string fact(std::string_view what) override {
        const std::string command =
            what == "kernel_release"    ? "uname -r"
            : what == "module_version"  ? std::string("cat ") + module_version_file
            : what == "chip_compatible" ? std::string("cat ") + compatible_file
                                        : "true";
        const shell_answer came = link_.run(command);
        return is_clean(came) ? first_line(came.output) : "";
    }

  private:
    static bool is_clean(const shell_answer &came) {
        return came.succeeded && came.messages.empty();
    }

    std::string path_of(std::string_view attribute) const {
        return as_word(directory_ + "/" + checked_name(name_, attribute));
    }

    // A message counts as much as the status: one of the two may be lost.
    answer answer_of(std::string_view attribute, shell_answer came) const {
        answer result{"", 0, came.start_ns, came.end_ns};
        if (is_clean(came)) {
            result.text = std::move(came.output);
            return result;
        }
        result.error = errno_of(came.messages);
        if (result.error == 0) {
            link_.give_up(std::string(attribute) + ": " +
                          (came.messages.empty() ? "failed without a word" : came.messages));
        }
        return result;
    }

    std::string log_text(const std::string &filter) {
        shell_answer came = link_.run("ovk_since " + as_word(filter));
        has_log_ = is_clean(came);
        return has_log_ ? came.output : "";
    }

    std::string name_;
    shell_link link_;
    std::string directory_;
    message_follower messages_;
    bool has_log_ = false;
};

// What begins with a dash would be an option.
std::string checked_target(const std::string &name, const std::string &target) {
    if (target.starts_with('-')) {
        throw failure(exit_status::usage, "'" + name + "' names no device");
    }
    return target;
}

}  // namespace

// A connection that died without a word is to be noticed.
std::unique_ptr<source> open_ssh(const std::string &name, const std::string &rest) {
    return std::make_unique<shell_source>(name, words{"ssh", "-T", "-o", "ServerAliveInterval=15",
                                                      "--", checked_target(name, rest), "exec sh"});
}

std::unique_ptr<source> open_adb(const std::string &name, const std::string &rest) {
    words program = {"adb"};
    if (!rest.empty()) {
        program.insert(program.end(), {"-s", checked_target(name, rest)});
    }
    program.insert(program.end(), {"shell", "sh"});
    return std::make_unique<shell_source>(name, program);
}

std::unique_ptr<source> open_exec(const std::string &name, const std::string &rest) {
    return std::make_unique<shell_source>(name, words{"sh", "-c", rest});
}

}  // namespace ovk
