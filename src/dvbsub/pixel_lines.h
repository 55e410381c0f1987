#pragma once

#include "bit_writer.h"
#include "picture.h"

#include <cstdint>

// Pixel data of a palettised region (ETSI EN 300 743 7.2.5.1). The indices in plane 0 are below the
// palette's `entry_count`; no map table is written, since the code depth is the region's depth.

/// Writes a pixel-data sub-block and an end_of_object_line_code for every line of one field: the top
/// field (lines 0, 2, 4, …) or, with `top` 0, the bottom field (1, 3, 5, …). The palette's
/// `entry_count` selects the depth: 4, 16 or 256; with 0 a line is its end code alone, and with any
/// other count too, after a message on standard error. Writes nothing for a region that is not
/// "YUVP" or has no palette, and no line behind the end of the buffer.
void encode_pixel_data(bit_writer& out, const subpicture_region& region, std::uint8_t top);

/// Each writes one line as 2-bit (4-bit, 8-bit) pixel code string (7.2.5.2) with its end code, and
/// zero bits up to the next byte boundary.
void encode_pixel_line_2bp(bit_writer& out, const subpicture_region& region, std::uint32_t line);
void encode_pixel_line_4bp(bit_writer& out, const subpicture_region& region, std::uint32_t line);
void encode_pixel_line_8bp(bit_writer& out, const subpicture_region& region, std::uint32_t line);
