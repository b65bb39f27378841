// SPDX-License-Identifier: GPL-2.0-only
// The attributes of the drivers' directories, and the processes that open, read and write them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/collector.h"
#include "platform/host/fault_plan.h"
#include "platform/host/records.h"
#include "platform/host/services.h"

namespace host {

class sysfs {
  public:
    sysfs(fault_plan &faults, oops_log &oopses) : faults_(faults), oopses_(oopses) {}

    // 0, or -EINVAL without a driver, -EEXIST for a name that is taken, -ENOMEM.
    int create(device_driver *driver, const ovk_driver_attribute *record);
    // Refuses new calls, waits until no handler of that driver runs, and takes the files away.
    void remove_all(const device_driver *driver);

    std::vector<attribute_info> list(std::string_view driver) const;
    // Negative codes: -ENOENT no such file, -EACCES by its mode, -EIO no handler, -ENODEV while it
    // is being removed, and what the handler returns.
    read_result read(std::string_view driver, std::string_view name);
    long write(std::string_view driver, std::string_view name, std::string_view text);

    // A signal, fatal or not, for every process that is in a handler now.
    void kill_handlers() { kills_++; }
    void interrupt_handlers() { interrupts_++; }
    void kill_this_handler();
    // Whether the process that asks has one pending, which came since its handler began.
    bool fatal_signal_pending() const;
    bool signal_pending() const;

  private:
    struct file {
        std::string name;
        unsigned mode;
        device_driver *driver;
        ssize_t (*show)(device_driver *, char *);
        ssize_t (*store)(device_driver *, const char *, size_t);
        unsigned handlers = 0;  // that run now
        bool removed = false;
    };
    class handler_call;

    std::shared_ptr<file> find(std::string_view driver, std::string_view name) const;
    long show(file &target, char *page);
    long store_piece(file &target, std::string_view piece);
    long checked_count(const file &target, long count, std::size_t offered);

    std::atomic<std::uint64_t> kills_ = 0;
    std::atomic<std::uint64_t> interrupts_ = 0;
    fault_plan &faults_;
    oops_log &oopses_;
    mutable std::mutex guard_;
    std::condition_variable handler_left_;
    std::vector<std::shared_ptr<file>> files_;  // in creation order
};

}  // namespace host
