#pragma once

#include <string_view>

// The files of tools/page, which are built into the program.

extern const std::string_view page_html_file;
extern const std::string_view page_css_file;
extern const std::string_view page_js_file;
