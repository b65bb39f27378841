// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/report/selection.h"

#include <cstring>
#include <iostream>
#include <utility>

#include "ovk/base/failure.h"
#include "ovk/base/interrupt.h"
#include "ovk/source/system_error.h"

namespace ovk {

moved_setting::moved_setting(source &where, std::string attribute, std::string original)
    : where_(where), attribute_(std::move(attribute)), original_(std::move(original)) {}

moved_setting::~moved_setting() {
    try {
        put_back();
    } catch (const std::exception &error) {
        std::cerr << "ovk: " << error.what() << std::endl;
    }
}

bool moved_setting::write(const std::string &text) {
    error_ = where_.write(attribute_, text).error;
    return error_ == 0;
}

void moved_setting::move(const std::string &text) {
    const bool before = std::exchange(moved_, true);

    try {
        if (write(text)) {
            return;
        }
    } catch (const failure &error) {
        // What broke off may have been written; what a recording does not have was not.
        moved_ = before || error.status() != exit_status::incomplete;
        throw;
    }
    moved_ = before;
    throw refused_access(where_, attribute_, "write", error_);
}

void moved_setting::put_back() {
    const held_interrupts hold;

    if (!std::exchange(moved_, false) || write(original_) || write(original_)) {
        return;
    }
    throw failure(exit_status::refused, where_.name() + ": " + attribute_ +
                                            ": can't be put back: " + std::strerror(error_) +
                                            "; write '" + original_ + "' to it");
}

}  // namespace ovk
