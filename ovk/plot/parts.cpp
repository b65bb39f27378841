// SPDX-License-Identifier: GPL-2.0-only
#include "ovk/plot/parts.h"

// Lets the assembler put a file in: a compiler takes long for such strings.
#define FILE_CONTENT(symbol, file)                                                                \
    asm(".section .rodata\n" #symbol                                                              \
        "_first:\n"                                                                               \
        ".incbin \"" file "\"\n" #symbol                                                          \
        "_behind:\n"                                                                              \
        ".previous");                                                                             \
    extern "C" const char symbol##_first[];                                                       \
    extern "C" const char symbol##_behind[];                                                      \
    namespace ovk {                                                                               \
    const std::string_view symbol = {symbol##_first,                                              \
                                     static_cast<std::size_t>(symbol##_behind - symbol##_first)}; \
    }

FILE_CONTENT(page_html, OVK_PLOT_DIR "/page.html")
FILE_CONTENT(page_css, OVK_PLOT_DIR "/page.css")
FILE_CONTENT(page_js, OVK_PLOT_DIR "/page.js")
FILE_CONTENT(chart_library, OVK_CHART_LIBRARY)
