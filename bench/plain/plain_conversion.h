#pragma once

#include "picture.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// The conversion to a palette step by step, one pixel after the other and with no thought of speed, for
// regions below a thousand million pixels: what `YuvaYuvp` has to give to the byte, and what its speed is
// compared with.

namespace plain {

[[nodiscard]] subpicture* YuvaYuvp(subpicture* page);

/// How a region comes down to a palette of at most 16 colours.
struct colour_reduction {
    std::size_t colours_before = 0;       ///< different ones in the region
    std::vector<palette_entry> palette{}; ///< the colours found
    std::int32_t tolerance = 0; ///< how far from an entry the colours that it stands for may lie, 0 to 127
    bool tolerance_sufficed = false;     ///< whether the palette stands for every colour so
    std::vector<std::uint8_t> indices{}; ///< of the pixels, with the error diffused
    std::int32_t largest_error = 0;      ///< carried from one pixel to the next, in levels of a component
};

/// Reduces a "YUVA" region, which stays as it is, and measures what the conversion does not tell.
[[nodiscard]] colour_reduction reduce_colours(const subpicture_region& region);

} // namespace plain
