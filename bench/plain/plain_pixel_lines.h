#pragma once

#include "bit_writer.h"
#include "picture.h"

namespace plain {

/// `encode_pixel_data` bit by bit, for palettes of 4, 16 or 256 entries.
void write_pixel_data(bit_writer& out, const subpicture_region& region, std::uint8_t top);

} // namespace plain
