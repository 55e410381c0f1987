#pragma once

#include "child_process.h"

#include <cstdint>
#include <string>

/// What a served page shows: the last good screens stay when a file cannot be read.
struct served_page {
    std::uint64_t revision = 0;
    std::string last_good{}; ///< document of `page_data`; empty: there was none yet
    std::string document{};  ///< what the page gets
};

/// Takes what a drawing has left behind: a document, or else why there is none. Gives the page another
/// revision.
void take_drawing(served_page& page, const process_end& drawing);

/// One line about what the page shows now, for who has started it.
std::string line_about(const served_page& page);
