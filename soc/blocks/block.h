// SPDX-License-Identifier: GPL-2.0-only
// A hardware block: a window of registers, of which it knows every one, that reacts to stores and
// to the passing of time by changing the register file.
//
// What the processor stores in a register becomes the block's own state in stored() and nowhere
// else: over shared memory, time may pass between a store and the news of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "devicetree/flat_tree.h"
#include "soc/register_file.h"
#include "soc/run.h"
#include "soc/units.h"

namespace soc {

// The accesses that a register takes, as a set.
enum access : unsigned {
    half_load = 1,    // load of the lower 16 bits
    word = 2,         // 32-bit load and store
    double_word = 4,  // 64-bit load and store of this register and the next
    word_store = 8,   // 32-bit store alone
};

struct register_row {
    std::uint32_t offset;
    unsigned allowed;
    const char *name;
    std::uint32_t count = 1;   // so many registers of this kind,
    std::uint32_t stride = 4;  // this many bytes apart
};

class block {
  public:
    // The node has at least one register range. Its registers are 0 at power-on. Throws
    // std::runtime_error when the range lies outside the register file.
    block(const devicetree::node &node, register_file &registers, std::vector<register_row> rows);
    // The same for a block whose node does not give the range as such.
    block(std::string name, const devicetree::range &window, register_file &registers,
          std::vector<register_row> rows);
    virtual ~block() = default;
    block(const block &) = delete;
    block &operator=(const block &) = delete;

    const std::string &name() const { return name_; }
    const devicetree::range &window() const { return window_; }
    bool covers(std::uint64_t address) const {
        return address >= window_.start && address - window_.start < window_.size;
    }

    // What is wrong with an access, or nothing.
    enum class operation { load, store };
    std::optional<std::string> objection(std::uint32_t offset, unsigned width,
                                         operation what) const;

    // The processor has stored there; the register file holds the value.
    virtual void stored(std::uint32_t offset, unsigned width) = 0;

    // Puts what the block knows into its result registers.
    virtual void publish() = 0;

    // The run of the block's bandwidth monitor that has ended since the last call.
    std::optional<run> take_ended_run() { return std::exchange(ended_run_, std::nullopt); }

    // It is now this time. A time that has passed already changes nothing.
    void advance(nanoseconds now);

    // When the block next changes by itself.
    virtual std::optional<nanoseconds> next_event() const { return std::nullopt; }

    // The block never reports done from now on. False: it has nothing to report.
    virtual bool hang() { return false; }

    // System sleep has taken the power for a moment.
    virtual void power_lost() {}

  protected:
    virtual void elapse(nanoseconds from, nanoseconds to) = 0;

    nanoseconds now() const { return now_; }
    std::uint32_t read(std::uint32_t offset) const;
    void write(std::uint32_t offset, std::uint32_t value);
    void clear_registers();

    // The bandwidth monitor runs, with these settings when it has just started, or stands still.
    void note_run(bool runs, std::uint32_t mode, std::uint32_t selection);

    // An access of `width` bits at `offset` reaches the 32-bit register at `wanted`.
    static bool reaches(std::uint32_t offset, unsigned width, std::uint32_t wanted);

  private:
    const register_row *row_at(std::uint32_t offset) const;

    std::string name_;
    devicetree::range window_;
    register_file &registers_;
    std::vector<register_row> rows_;
    nanoseconds now_ = 0;
    std::optional<run> present_run_;
    std::optional<run> ended_run_;
};

}  // namespace soc
