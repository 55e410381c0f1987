#pragma once

#include "png_image.h"

/// Scales the drawing context of a region, which stays so, and paints the image at its place. (A height
/// that was to follow from the image has been set.) When that fails it prints
/// "Error: Cannot scale image %s (%d,%d) to (%d,%d) : %s\n", "Error: Cannot use image %s as pattern: %s\n"
/// or "Error: Cannot paint image %s in region: %s\n" on standard error and returns false.
[[nodiscard]] bool paint_scaled(cairo_t* context, const png_image& image);
