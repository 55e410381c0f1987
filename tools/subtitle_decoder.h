#pragma once

#include "subtitle_segments.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// DVB subtitles as a receiver reads them (ETSI EN 300 743). Nothing here is shared with the encoder, so
// that each can stand witness for the other. The reading is strict: what the standard does not allow is
// reported and not guessed at. Display definitions, map tables and character objects are not read, and
// are reported as well.

/// A colour of a CLUT as it is sent (7.2.4): ITU-R BT.601, T 0 is opaque, Y 0 is fully transparent.
struct clut_colour {
    std::uint8_t y = 0;
    std::uint8_t cr = 0;
    std::uint8_t cb = 0;
    std::uint8_t t = 0;
    bool defined = false; ///< whether the CLUT definition has the entry

    bool operator==(const clut_colour&) const = default;
};

/// A region of the page with the pixels of its objects.
struct decoded_region {
    std::uint32_t id = 0;
    std::uint32_t version = 0;
    std::uint32_t x = 0; ///< position on the display, pixels
    std::uint32_t y = 0;
    std::uint32_t width = 0; ///< pixels; 0 when the region was not composed
    std::uint32_t height = 0;
    std::uint32_t depth_bits = 0; ///< 2, 4 or 8
    bool filled = false;
    std::uint32_t fill_index = 0; ///< what it is filled with
    std::uint32_t clut_id = 0;
    std::uint32_t clut_version = 0;
    std::vector<clut_colour> colours{};  ///< 4, 16 or 256
    std::vector<std::uint8_t> indices{}; ///< into the colours, line after line
};

/// One display set.
struct decoded_page {
    std::uint32_t page_id = 0;
    std::uint32_t time_out_s = 0;
    std::uint32_t version = 0;
    std::uint32_t state = 0;               ///< 0 normal case, 1 acquisition point, 2 mode change
    std::vector<decoded_region> regions{}; ///< in the order of the page composition
    std::vector<std::string> problems{};   ///< empty when the display set is sound
};

/// Decodes a PES_data_field. With page_state "normal case" the page may name regions that it does not
/// compose.
decoded_page decode_display_set(std::span<const std::uint8_t> field);
