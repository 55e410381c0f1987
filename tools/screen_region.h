#pragma once

#include "picture.h"
#include "plain_conversion.h"

#include <cstdint>
#include <string>

/// One region of a screen as it was drawn.
struct screen_region {
    std::string name{};  ///< of the layout's region, or "banner"
    std::uint32_t x = 0; ///< on the display, pixels
    std::uint32_t y = 0;
    std::uint32_t width = 0; ///< pixels
    std::uint32_t height = 0;
    plain::colour_reduction colours{}; ///< not measured of a sound region
    pixel_digest pixels{};
    bool is_sound = false; ///< the same pixels were measured and compared before, and nothing was found
};
