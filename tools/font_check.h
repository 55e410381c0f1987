#pragma once

#include "handles.h"

#include <fontconfig/fontconfig.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

using owned_pattern = std::unique_ptr<FcPattern, releaser<FcPatternDestroy>>;

/// The font that is drawn for a family, as cairo chooses it.
struct chosen_font {
    std::string family{};
    bool is_installed = false;    ///< it is of the family itself, or the family is a generic one
    bool has_same_widths = false; ///< it is made to stand in for the family
    owned_pattern pattern{};
};

/// Fonts that were looked up, by their families.
using font_book = std::map<std::string, chosen_font>;

const chosen_font& find_font(font_book& fonts, const std::string& family);

/// The characters of a UTF-8 text that the font lacks, each once; control characters are left out. One box
/// is drawn for each.
std::vector<std::string> missing_characters(const chosen_font& font, const std::string& text);
