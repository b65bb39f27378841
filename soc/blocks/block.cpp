// SPDX-License-Identifier: GPL-2.0-only
#include "soc/blocks/block.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

namespace soc {

namespace {

constexpr std::uint32_t register_bytes = 4;

const devicetree::range &window_of(const devicetree::node &node) {
    const devicetree::range &window = node.reg.at(0);
    if (!register_file::contains(window.start, window.size)) {
        throw std::runtime_error(node.path + ": the registers lie outside the register file");
    }
    return window;
}

bool takes_word(const register_row &row, block::operation what) {
    return (row.allowed & word) != 0 ||
           ((row.allowed & word_store) != 0 && what == block::operation::store);
}

bool takes(const register_row &row, unsigned width, block::operation what) {
    switch (width) {
        case 16:
            return (row.allowed & half_load) != 0 && what == block::operation::load;
        case 32:
            return takes_word(row, what);
        case 64:
            return (row.allowed & double_word) != 0;
        default:
            return false;
    }
}

bool holds(const register_row &row, std::uint32_t offset) {
    return offset >= row.offset && (offset - row.offset) % row.stride == 0 &&
           (offset - row.offset) / row.stride < row.count;
}

}  // namespace

block::block(const devicetree::node &node, register_file &registers, std::vector<register_row> rows)
    : block(node.name, window_of(node), registers, std::move(rows)) {}

block::block(std::string name, const devicetree::range &window, register_file &registers,
             std::vector<register_row> rows)
    : name_(std::move(name)), window_(window), registers_(registers), rows_(std::move(rows)) {
    clear_registers();
}

const register_row *block::row_at(std::uint32_t offset) const {
    for (const register_row &row : rows_) {
        if (holds(row, offset)) {
            return &row;
        }
    }
    return nullptr;
}

std::optional<std::string> block::objection(std::uint32_t offset, unsigned width,
                                            operation what) const {
    const register_row *row = row_at(offset);
    if (row != nullptr && takes(*row, width, what)) {
        return std::nullopt;
    }
    char place[32];
    std::snprintf(place, sizeof place, "+0x%x: %u-bit ", offset, width);
    const std::string text = name_ + place + (what == operation::load ? "load" : "store");
    return text + (row == nullptr ? ", no register there" : std::string(", not for ") + row->name);
}

void block::advance(nanoseconds now) {
    if (now > now_) {
        const nanoseconds from = std::exchange(now_, now);
        elapse(from, now);
    }
}

// A window of the tree may be shorter than the block; the rest of the block does not exist then.
std::uint32_t block::read(std::uint32_t offset) const {
    return offset + register_bytes <= window_.size ? registers_.get32(window_.start + offset) : 0;
}

void block::write(std::uint32_t offset, std::uint32_t value) {
    if (offset + register_bytes <= window_.size) {
        registers_.set32(window_.start + offset, value);
    }
}

void block::clear_registers() {
    for (const register_row &row : rows_) {
        for (std::uint32_t i = 0; i < row.count; ++i) {
            write(row.offset + i * row.stride, 0);
        }
    }
}

void block::note_run(bool runs, std::uint32_t mode, std::uint32_t selection) {
    if (runs && !present_run_) {
        present_run_ = run{name_, mode, selection, now_, now_};
    } else if (!runs && present_run_) {
        present_run_->end = now_;
        ended_run_ = std::exchange(present_run_, std::nullopt);
    }
}

bool block::reaches(std::uint32_t offset, unsigned width, std::uint32_t wanted) {
    return wanted < offset + width / bits_per_byte && offset < wanted + register_bytes;
}

}  // namespace soc
