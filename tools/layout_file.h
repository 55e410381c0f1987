#pragma once

#include "article_file.h"
#include "finding.h"
#include "xml_positions.h"

#include <string>
#include <string_view>
#include <vector>

/// A region of the layout file, where it stands there.
struct layout_element {
    std::string name{};
    file_place at{};
    file_place text{};       ///< of its text element, which need not be there
    bool has_colours = true; ///< false: a finding tells what is wrong with them
};

struct layout_places {
    std::string path{};
    std::vector<layout_element> regions{}; ///< as in the file
    finding_list findings{};
};

/// Reads the layout as the daemon does and finds what of it does not count as it is written: names that it
/// does not know, colours and numbers that are none, regions that are missing or in vain.
layout_places read_layout(const file_bytes& file);

/// The first region of that name, which counts; null when there is none.
const layout_element* find_region(const layout_places& layout, std::string_view name);

/// Where that region stands, or its text element; the file alone when there is neither.
source_position region_position(const layout_places& layout, std::string_view name);
source_position text_position(const layout_places& layout, std::string_view name);
