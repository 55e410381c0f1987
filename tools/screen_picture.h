#pragma once

#include "subtitle_decoder.h"

#include <array>
#include <cstdint>
#include <vector>

/// Red, green, blue and opacity.
using rgba_pixel = std::array<std::uint8_t, 4>;

/// A colour of a CLUT on the screen: ITU-R BT.601, limited range.
rgba_pixel screen_colour(const clut_colour& colour);

/// A picture in lines of `width` pixels, colours not multiplied by the opacity.
struct screen_picture {
    std::uint32_t width = 720;
    std::uint32_t height = 576;
    std::vector<rgba_pixel> pixels{};
};

/// The page on an otherwise transparent display; what lies beyond its edges is cut. A later region
/// covers an earlier one, its transparent pixels too.
screen_picture compose_screen(const decoded_page& page);
