#pragma once

#include "picture.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The pixels of a "YUVA" region, line after line.
struct yuva_image {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<palette_entry> pixels{};
};

/// A copy of the region's pixels, before they are converted.
yuva_image pixels_of(const subpicture_region& region);

/// How a region comes down to a palette of at most 16 colours.
struct colour_reduction {
    std::size_t colours_before = 0;       ///< different ones in the region
    std::vector<palette_entry> palette{}; ///< the colours found
    std::int32_t tolerance = 0; ///< how far from an entry the colours that it stands for may lie, 0 to 127
    bool tolerance_sufficed = false;     ///< whether the palette stands for every colour so
    std::vector<std::uint8_t> indices{}; ///< of the pixels, with the error diffused
    std::int64_t largest_error = 0;      ///< handed on from one pixel to the next, in levels of a component
};

/// Reduces the image as the encoder does, apart from the encoder's own code: to measure what it does
/// not tell, and to hold the result against its.
colour_reduction reduce_colours(const yuva_image& image);
