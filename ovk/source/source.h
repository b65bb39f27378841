// SPDX-License-Identifier: GPL-2.0-only
// Where attributes are read and written: a device, the simulator, or a recording of either.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ovk {

// What one operation on an attribute brought, and when. Times are the source's own, in ns since
// its boot.
struct answer {
    std::string text;  // what was read; empty after a write
    int error = 0;     // the system's errno, positive; 0 when it succeeded
    std::int64_t start_ns = 0;
    std::int64_t end_ns = 0;
};

class source {
  public:
    virtual ~source() = default;

    // As the user named it, with its scheme.
    virtual std::string name() const = 0;

    // The whole text of an attribute. An attribute that the system refuses to read is an answer
    // with its errno; a source that can't be reached throws failure(unreachable).
    virtual answer read(std::string_view attribute) = 0;

    // Writes a text as it stands, with no line end put to it.
    virtual answer write(std::string_view attribute, std::string_view text) = 0;

    // The kernel's messages since the last call, or since the source was opened; a line each,
    // without time stamps.
    virtual std::vector<std::string> log() = 0;

    // False when the messages can't be seen, for want of permission: that log() has none tells
    // nothing then.
    virtual bool has_log() { return true; }

    // The source's clock, in ns since its boot.
    virtual std::int64_t now() = 0;

    // Waits until its clock says so. Throws failure(interrupted).
    virtual void wait_until(std::int64_t time_ns);

    // The names of the attributes that are there.
    virtual std::vector<std::string> attributes() = 0;

    // Writes lines to the kernel's trace_marker. False: there is none to be had.
    virtual bool mark_trace(const std::vector<std::string> &) { return false; }

    // A fact about the device, empty where it is not known: "kernel_release", "module_version",
    // "chip_compatible".
    virtual std::string fact(std::string_view what) = 0;
};

// sysfs[:DIR], ssh:[USER@]HOST, adb[:SERIAL], exec:COMMAND, sim:CHIP[,SCENARIO] or file:RECORDING.
// Throws failure: usage for a name of no kind, unreachable for one that can't be opened.
std::unique_ptr<source> open_source(const std::string &name);

}  // namespace ovk
