#pragma once

#include "handles.h"
#include "picture.h"

#include <cstdint>

/// A PNG file as an image surface.
struct png_image {
    const char* path = nullptr;                   ///< borrowed, for messages
    owned_surface surface = {};                   ///< never null
    cairo_status_t status = CAIRO_STATUS_SUCCESS; ///< otherwise the file could not be loaded
    std::uint32_t width = 0;                      ///< in pixels
    std::uint32_t height = 0;
};

png_image load_png(const char* path);

/// Where an image comes to lie. The region is divided into `slots` of equal height; the scale is
/// that which makes the image fill one of them.
struct slot_position {
    std::uint32_t slots = 1;
    double y = 0; ///< of the image's top edge, in the scaled space
};

/// Scales the drawing context, which stays so, and paints the image. When that fails it prints
/// "Error: Cannot scale image %s (%d,%d) to (%d,%d) : %s\n", "Error: Cannot use image %s as pattern: %s\n"
/// or "Error: Cannot paint image %s in region: %s\n" on standard error and returns false.
[[nodiscard]] bool paint_scaled(
    cairo_t* context, const png_image& image, const region_format& format, const slot_position& position);
