#pragma once

#include "image_cache.h"
#include "surface_region.h"

/// Draws a PNG file, stretched to the format's size, as a new region at the end of the display set. The
/// image lies on nothing: where it is transparent the region is too. With `keep_ratio` the format's
/// height follows from its width and the size of the image, and is written into the format; should it
/// become 0, the region is left out with a message.
/// Fails without a message for a null argument, a width of 0 and, without `keep_ratio`, a height of
/// 0; otherwise with the messages of `is_on_display`, `paint_scaled` and `AddSurfaceRegion` or with
/// "Error: Cannot render image %s: %s\n".
[[nodiscard]] std::int32_t AddImageSubtitle(
    region_format* format, const char* path, subpicture* display_set, bool keep_ratio);

/// The same with the images of a cache; null does without.
[[nodiscard]] std::int32_t add_cached_image(
    region_format* format, const char* path, subpicture* display_set, bool keep_ratio, image_cache* cache);
