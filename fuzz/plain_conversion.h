#pragma once

#include "picture.h"

#include <cstdint>
#include <vector>

/// A region's pixels as they were before their conversion, one plane behind the other.
struct pixel_copy {
    std::int64_t lines = 0;
    std::int64_t pitch = 0;
    std::vector<std::uint8_t> bytes;
};
pixel_copy copy_of(const picture& source);

struct converted_pixels {
    std::vector<palette_entry> entries; ///< 16
    std::vector<std::uint8_t> indices;
};

/// The conversion to a palette step by step, one pixel after the other, with no thought of speed: what
/// `YuvaYuvp` has to give to the byte.
converted_pixels convert_plainly(const pixel_copy& source);
