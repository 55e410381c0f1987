#pragma once

#include "item.h"
#include "png_image.h"
#include "surface_region.h"

/// Draws the column of feature icons of an article as a new region at the end of the display set: on
/// opaque black, one icon per feature that the article has, from the top down, each as wide as the
/// region and an eighth of it high when all icon files are equally high. The size and the numbers of
/// HDMI and USB connectors are written over their icons. An icon file that cannot be loaded is left out
/// with "Error: Cannot find image %s: %s\n", and the next one takes its place.
/// Fails without a message for a null argument and a width of 0; otherwise with the messages of
/// `is_on_display`, `paint_scaled` and `AddSurfaceRegion`.
[[nodiscard]] std::int32_t BuildFeaturesBanner(
    const region_format* format, const item* article, subpicture* display_set);

/// The same with icons from another source.
[[nodiscard]] std::int32_t build_banner_with_icons(
    const region_format* format, const item* article, subpicture* display_set, const image_source& icons);
