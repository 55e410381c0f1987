#pragma once

#include "png_image.h"

/// Scales the drawing context, which stays so, to the region of the given format and paints the image,
/// which had its place there when it was loaded. When that fails it prints
/// "Error: Cannot scale image %s (%d,%d) to (%d,%d) : %s\n", "Error: Cannot use image %s as pattern: %s\n"
/// or "Error: Cannot paint image %s in region: %s\n" on standard error and returns false.
[[nodiscard]] bool paint_scaled(cairo_t* context, const png_image& image, const region_format& format);
