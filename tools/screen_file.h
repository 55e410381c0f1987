#pragma once

#include "screen_picture.h"

#include <string>
#include <vector>

/// What a screen lies on: opaque pixels, as many as the display has.
struct background {
    std::vector<rgba_pixel> pixels{};
    std::string error{}; ///< why there are none; empty when there are
};

/// "#203040" or "203040" as a colour; anything else is the path of a PNG file, which is stretched to the
/// display and, where it is transparent, lies on the default grey.
background make_background(const std::string& colour_or_path);

/// Lays the picture over the background by its opacity.
std::vector<rgba_pixel> lay_over(const background& ground, const screen_picture& screen);

/// The picture as the bytes of a PNG file, with its opacity. Empty when there is no memory for it.
std::string png_of(const screen_picture& picture);

/// Writes opaque pixels of the display's size as a PNG file. Returns why it could not; empty when it
/// could.
std::string write_screen(const std::vector<rgba_pixel>& pixels, const std::string& path);
