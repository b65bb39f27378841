// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/sysfs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/host/kernel_mutex.h"
#include "platform/host/platform_bus.h"

namespace host {

static constexpr std::size_t page_size = 4096;
static constexpr unsigned readable = 0444;
static constexpr unsigned writable = 0222;
static constexpr unsigned permissions = 0777;

namespace {

// The page that a show handler fills, and behind it room in which an overrun leaves its mark.
class guarded_page {
  public:
    guarded_page() : bytes_(static_cast<char *>(std::aligned_alloc(page_size, 2 * page_size))) {
        std::memset(bytes_.get(), 0, page_size);
        std::memset(bytes_.get() + page_size, mark, page_size);
    }

    char *data() { return bytes_.get(); }
    bool overrun() const {
        return std::any_of(bytes_.get() + page_size, bytes_.get() + 2 * page_size,
                           [](char c) { return c != mark; });
    }

  private:
    struct releaser {
        void operator()(char *bytes) const { std::free(bytes); }
    };
    static constexpr char mark = '\x5a';
    std::unique_ptr<char, releaser> bytes_;
};

}  // namespace

// Signals up to the start of the handler that this thread runs, if it runs one.
struct signals_seen {
    bool in_handler;
    std::uint64_t kills;
    std::uint64_t interrupts;
};
static thread_local signals_seen seen;

// A handler's stay in the module. Nothing is held meanwhile but the count of those inside.
class sysfs::handler_call {
  public:
    handler_call(sysfs &owner, file &target) : owner_(owner), target_(target) {
        seen = {true, owner.kills_, owner.interrupts_};
        std::scoped_lock lock(owner_.guard_);
        admitted_ = !target_.removed;
        target_.handlers += admitted_ ? 1 : 0;
    }
    ~handler_call() {
        seen = {};
        check_mutexes(owner_.oopses_, "a handler of " + target_.name);
        std::scoped_lock lock(owner_.guard_);
        target_.handlers -= admitted_ ? 1 : 0;
        owner_.handler_left_.notify_all();
    }
    handler_call(const handler_call &) = delete;
    handler_call &operator=(const handler_call &) = delete;

    bool admitted() const { return admitted_; }

  private:
    sysfs &owner_;
    file &target_;
    bool admitted_;
};

int sysfs::create(device_driver *driver, const ovk_driver_attribute *record) {
    const bool fails = faults_.strikes(fault_kind::attribute, record->name);
    if (!driver) {
        return -EINVAL;
    }
    if (fails) {
        return -ENOMEM;
    }
    if (find(driver->name, record->name)) {
        return -EEXIST;
    }
    auto created = std::make_shared<file>();
    created->name = record->name;
    created->mode = record->mode & permissions;
    created->driver = driver;
    created->show = record->show;
    created->store = record->store;
    std::scoped_lock lock(guard_);
    files_.push_back(std::move(created));
    return 0;
}

void sysfs::remove_all(const device_driver *driver) {
    std::unique_lock lock(guard_);
    const auto belongs = [driver](const auto &each) { return each->driver == driver; };
    for (const auto &each : files_) {
        each->removed |= belongs(each);
    }
    handler_left_.wait(lock, [&] {
        return std::ranges::none_of(
            files_, [&](const auto &each) { return belongs(each) && each->handlers > 0; });
    });
    std::erase_if(files_, belongs);
}

std::vector<attribute_info> sysfs::list(std::string_view driver) const {
    std::scoped_lock lock(guard_);
    std::vector<attribute_info> result;
    for (const auto &each : files_) {
        if (each->driver->name == driver) {
            result.push_back({each->name, each->mode});
        }
    }
    return result;
}

std::shared_ptr<sysfs::file> sysfs::find(std::string_view driver, std::string_view name) const {
    std::scoped_lock lock(guard_);
    const auto found = std::ranges::find_if(files_, [&](const auto &each) {
        return each->driver->name == driver && each->name == name;
    });
    return found == files_.end() ? nullptr : *found;
}

void sysfs::kill_this_handler() {
    seen.kills = ~std::uint64_t{0};
}

bool sysfs::fatal_signal_pending() const {
    return seen.in_handler && kills_ != seen.kills;
}

bool sysfs::signal_pending() const {
    return fatal_signal_pending() || (seen.in_handler && interrupts_ != seen.interrupts);
}

long sysfs::show(file &target, char *page) {
    handler_call call(*this, target);
    if (!call.admitted()) {
        return -ENODEV;
    }
    if (!target.show) {
        return -EIO;
    }
    return target.show(target.driver, page);
}

read_result sysfs::read(std::string_view driver, std::string_view name) {
    const std::shared_ptr<file> target = find(driver, name);
    if (!target) {
        return {-ENOENT, {}};
    }
    if ((target->mode & readable) == 0) {
        return {-EACCES, {}};
    }
    guarded_page page;
    const long count = show(*target, page.data());
    if (page.overrun()) {
        oopses_.add("show of " + target->name + " wrote past its page");
    }
    if (count < 0) {
        return {count, {}};
    }
    if (count >= static_cast<long>(page_size)) {
        oopses_.add("show of " + target->name + " returned bad count " + std::to_string(count));
    }
    const auto length = std::min(static_cast<std::size_t>(count), page_size - 1);
    return {static_cast<long>(length), std::string(page.data(), length)};
}

long sysfs::store_piece(file &target, std::string_view piece) {
    handler_call call(*this, target);
    if (!call.admitted()) {
        return -ENODEV;
    }
    if (!target.store) {
        return -EIO;
    }
    // Of just this size: a memory checker sees a parser that runs past the end.
    const std::unique_ptr<char[]> buffer(new char[piece.size() + 1]);
    piece.copy(buffer.get(), piece.size());
    buffer[piece.size()] = '\0';
    const long count = target.store(target.driver, buffer.get(), piece.size());
    return checked_count(target, count, piece.size());
}

long sysfs::checked_count(const file &target, long count, std::size_t offered) {
    if (count == 0) {
        oopses_.add("store of " + target.name + " returned 0: the writer would loop");
    }
    if (count > static_cast<long>(offered)) {
        oopses_.add("store of " + target.name + " returned " + std::to_string(count) + " for " +
                    std::to_string(offered) + " bytes");
        return static_cast<long>(offered);
    }
    return count;
}

long sysfs::write(std::string_view driver, std::string_view name, std::string_view text) {
    const std::shared_ptr<file> target = find(driver, name);
    if (!target) {
        return -ENOENT;
    }
    if ((target->mode & writable) == 0) {
        return -EACCES;
    }
    std::size_t written = 0;
    while (written < text.size()) {
        const long count = store_piece(*target, text.substr(written, page_size));
        if (count < 0) {
            return count;
        }
        if (count == 0) {
            break;
        }
        written += static_cast<std::size_t>(count);
    }
    return static_cast<long>(written);
}

}  // namespace host
