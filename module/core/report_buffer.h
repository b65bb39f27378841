// SPDX-License-Identifier: GPL-2.0-only
// The page that sysfs hands to a read, and the text conventions of what goes into it.
#pragma once

#include "platform/kernel.h"

inline constexpr u32 report_buffer_size = 4096;

// Appends formatted text to the report of length *counter and advances the length. What does not
// fit any more is cut at the last character that does (a report has 4095 at most); that is no
// error. Returns the number of characters appended.
s32 putbuf(char *buffer, u32 *counter, const char *format, va_list args);

// The report of one read.
class report_page {
  public:
    explicit report_page(char *buffer) : buffer_(buffer) {}

    // Appends as putbuf does.
    KERNEL_PRINTF(2, 3) void put(const char *format, ...);

    ssize_t length() const { return static_cast<ssize_t>(length_); }

  private:
    char *buffer_;
    u32 length_ = 0;
};

// ANSI terminal control.
#define ESC_ERASE "\033[K"   // to the end of the line, so that no older report shows through
#define ESC_RESET "\033[0m"  // attributes off
#define ESC_UNDERLINE "\033[4m"
#define ESC_REVERSE "\033[7m"
#define END_OF_LINE ESC_ERASE "\n"
#define END_OF_HIGHLIGHT ESC_RESET END_OF_LINE
#define REPORT_START "Starting Monitor......" END_OF_LINE END_OF_LINE

// Black text on a coloured background.
#define LABEL_RED "\033[41;30m"
#define LABEL_GREEN "\033[42;30m"
#define LABEL_YELLOW "\033[43;30m"
#define LABEL_MAGENTA "\033[45;30m"
#define LABEL_CYAN "\033[46;30m"
#define LABEL_WHITE "\033[47;30m"
