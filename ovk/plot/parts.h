// SPDX-License-Identifier: GPL-2.0-only
// What the page is made of. The build puts the files into the program; see CMakeLists.txt.
#pragma once

#include <string_view>

namespace ovk {

extern const std::string_view page_html;
extern const std::string_view page_css;
extern const std::string_view page_js;
extern const std::string_view chart_library;  // Chart.js

}  // namespace ovk
