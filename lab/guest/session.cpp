// SPDX-License-Identifier: GPL-2.0-only
// In the guest: carries out operations on attributes, a line each, and prints what came of them.
//
//   ovk-session run FILE             lines "read ATTRIBUTE" or "write ATTRIBUTE TEXT", TEXT in
//                                    hexadecimal. Prints "CODE TEXT" per operation, then a line
//                                    "log LEVEL TEXT" per message of the kernel log since the
//                                    last operation; TEXT in hexadecimal.
//   ovk-session fail FILE            the same operations, and lines "load": each with every of its
//                                    allocations failing in turn, on a kernel that can do that.
//                                    Prints how many these were
//   ovk-session load                 loads ovk_bw.ko, whose siblings are there, once
//   ovk-session time COUNT           loads it, reads bw_total and unloads, COUNT times; prints
//                                    "load|read|unload MICROSECONDS" each time
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view attributes = "/sys/bus/platform/drivers/ovk-bw/";
constexpr std::size_t page = 4096;
constexpr unsigned long most_verbose_level = 7;

class open_file {
  public:
    open_file(const std::string &path, int flags) : descriptor_(open(path.c_str(), flags)) {}
    ~open_file() {
        if (good()) {
            close(descriptor_);
        }
    }
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;

    bool good() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

struct result {
    long code;  // byte count, or a negative error code
    std::string text;
};

std::string path_of(const std::string &attribute) {
    return std::string(attributes) + attribute;
}

// One open, reads to the end, one close.
result read_attribute(const std::string &attribute) {
    const open_file file(path_of(attribute), O_RDONLY);
    std::vector<char> part(2 * page);
    std::string text;

    if (!file.good()) {
        return {-errno, ""};
    }
    for (;;) {
        const ssize_t count = read(file.descriptor(), part.data(), part.size());
        if (count < 0) {
            return {-errno, ""};
        }
        if (count == 0) {
            return {static_cast<long>(text.size()), text};
        }
        text.append(part.data(), static_cast<std::size_t>(count));
    }
}

// As `printf TEXT > attribute` does it: what a write leaves over is written again.
result write_attribute(const std::string &attribute, std::string_view text) {
    const open_file file(path_of(attribute), O_WRONLY | O_TRUNC);
    const auto length = static_cast<long>(text.size());

    if (!file.good()) {
        return {-errno, ""};
    }
    while (!text.empty()) {
        const ssize_t count = write(file.descriptor(), text.data(), text.size());
        if (count < 0) {
            return {-errno, ""};
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return {length, ""};
}

std::string hexadecimal(std::string_view text) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string result;

    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        result += digits[byte >> 4];
        result += digits[byte & 0xf];
    }
    return result;
}

std::string from_hexadecimal(std::string_view digits) {
    std::string result;

    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        result += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
    }
    return result;
}

class kernel_log {
  public:
    kernel_log() : file_("/dev/kmsg", O_RDWR | O_NONBLOCK) {
        lseek(file_.descriptor(), 0, SEEK_END);
    }

    // A record is "LEVEL,NUMBER,TIME,FLAGS[,...];TEXT\n", then lines that start with a blank.
    void print_new() {
        std::vector<char> record(2 * page);

        end_last_record();

        for (;;) {
            const ssize_t count = read(file_.descriptor(), record.data(), record.size());
            if (count < 0 && errno == EPIPE) {
                continue;  // the oldest were overwritten
            }
            if (count <= 0) {
                return;
            }
            print({record.data(), static_cast<std::size_t>(count)});
        }
    }

  private:
    // A message without a newline is held back until another one comes.
    void end_last_record() {
        static constexpr std::string_view mark = "<14>.\n";

        if (write(file_.descriptor(), mark.data(), mark.size()) < 0) {
            std::perror("/dev/kmsg");
        }
    }

    static void print(std::string_view record) {
        const unsigned long priority = std::strtoul(record.data(), nullptr, 10);
        if (priority > most_verbose_level) {
            return;  // not the kernel's own
        }
        const std::size_t start = record.find(';') + 1;
        const std::string_view text = record.substr(start, record.find('\n', start) - start);
        std::cout << "log " << priority << " " << hexadecimal(unescaped(text)) << "\n";
    }

    // Bytes that do not print stand there as \xNN.
    static std::string unescaped(std::string_view text) {
        std::string result;

        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text.substr(i, 2) == "\\x" && i + 4 <= text.size()) {
                result += from_hexadecimal(text.substr(i + 2, 2));
                i += 3;
            } else {
                result += text[i];
            }
        }
        return result;
    }

    open_file file_;
};

result carry_out(const std::string &operation) {
    std::istringstream words(operation);
    std::string what;
    std::string attribute;
    std::string text;

    words >> what >> attribute >> text;
    return what == "read" ? read_attribute(attribute)
                          : write_attribute(attribute, from_hexadecimal(text));
}

int run(const std::string &name) {
    std::ifstream operations(name);
    kernel_log log;

    for (std::string line; std::getline(operations, line);) {
        const result came = carry_out(line);
        std::cout << came.code << " " << hexadecimal(came.text) << "\n";
        log.print_new();
    }
    return 0;
}

int report(const char *what, long code) {
    if (code < 0) {
        std::cerr << what << ": " << std::strerror(static_cast<int>(-code)) << "\n";
    }
    return code < 0 ? 1 : 0;
}

std::string module_file() {
    utsname system = {};

    uname(&system);
    return std::string("/lib/modules/") + system.release + "/ovk_bw.ko";
}

long load() {
    const open_file file(module_file(), O_RDONLY);

    return file.good() && syscall(SYS_finit_module, file.descriptor(), "", 0) == 0 ? 0 : -errno;
}

long unload() {
    return syscall(SYS_delete_module, "ovk_bw", O_NONBLOCK) == 0 ? 0 : -errno;
}

// One of the kernel's allocations for this process, by its number from now on.
class failing_allocation {
  public:
    failing_allocation() : file_("/proc/thread-self/fail-nth", O_RDWR) {}

    bool is_possible() const { return file_.good(); }
    bool choose(unsigned number) const {
        const std::string text = std::to_string(number);
        return pwrite(file_.descriptor(), text.data(), text.size(), 0) > 0;
    }
    // Whether it came to that allocation. None fails afterwards.
    bool has_failed() const {
        char left[16] = {};
        const bool failed = pread(file_.descriptor(), left, sizeof(left) - 1, 0) > 0 &&
                            std::strtoul(left, nullptr, 10) == 0;
        return choose(0) && failed;
    }

  private:
    open_file file_;
};

long carry_out_or_load(const std::string &operation) {
    if (operation != "load") {
        return carry_out(operation).code;
    }
    const long code = load();
    return code == 0 ? unload() : code;
}

// A failure may cost a part of a report, or end the operation for want of memory or of a block. The
// next time it is as if nothing had been.
bool fail_each(const failing_allocation &allocation, const std::string &operation) {
    const bool succeeds = carry_out_or_load(operation) >= 0;

    for (unsigned number = 1;; ++number) {
        allocation.choose(number);
        const long code = carry_out_or_load(operation);
        if (!allocation.has_failed()) {
            std::cout << operation << ": " << number - 1 << "\n";
            return true;
        }
        const bool excusable = code >= 0 || code == -ENOMEM || code == -EPERM;
        const bool tried_again = number % 8 == 0;  // which takes as long once more
        if (!excusable || (tried_again && (carry_out_or_load(operation) >= 0) != succeeds)) {
            std::cerr << operation << ": " << code << " when allocation " << number << " failed\n";
            return false;
        }
    }
}

int fail(const std::string &name) {
    const failing_allocation allocation;
    std::ifstream operations(name);
    bool good = allocation.is_possible();

    for (std::string line; good && std::getline(operations, line);) {
        good = fail_each(allocation, line);
    }
    return good ? 0 : 1;
}

using clock_type = std::chrono::steady_clock;

template <class F>
bool timed(const char *what, F act) {
    const auto start = clock_type::now();
    const long code = act();
    const auto took =
        std::chrono::duration_cast<std::chrono::microseconds>(clock_type::now() - start);

    std::cout << what << " " << took.count() << "\n";
    return report(what, code) == 0;
}

int measure_times(int count) {
    bool good = true;

    for (int i = 0; i < count && good; ++i) {
        good = timed("load", load) &&
               timed("read", [] { return read_attribute("bw_total").code; }) &&
               timed("unload", unload);
    }
    return good ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);

    if (arguments.size() == 2 && arguments[0] == "run") {
        return run(arguments[1]);
    }
    if (arguments.size() == 2 && arguments[0] == "fail") {
        return fail(arguments[1]);
    }
    if (arguments.size() == 1 && arguments[0] == "load") {
        return report("load", load());
    }
    if (arguments.size() == 2 && arguments[0] == "time") {
        return measure_times(std::atoi(arguments[1].c_str()));
    }
    std::cerr << "usage: ovk-session run FILE | fail FILE | load | time COUNT\n";
    return 2;
}
