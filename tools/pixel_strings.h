#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Pixel data of an object as a receiver reads it (ETSI EN 300 743, 7.2.5.1 and 7.2.5.2).

/// One line of an object: a pixel code for each pixel.
using pixel_row = std::vector<std::uint8_t>;

/// The lines of one field.
struct pixel_data {
    std::vector<pixel_row> rows{};
    std::uint32_t depth_bits = 0; ///< of the pixel code strings: 2, 4 or 8; 0 when there is none
    std::string problem{};        ///< why the reading stopped; empty when all was read
};

/// Reads a whole pixel-data block: sub-blocks of 2-, 4- or 8-bit pixel code strings, each line ended by
/// an end_of_object_line_code. Map tables, and strings of different depths in one block, are not read.
pixel_data read_pixel_data(std::span<const std::uint8_t> block);
