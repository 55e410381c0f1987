#pragma once

#include "image.h"
#include "item.h"

#include <array>
#include <cstdint>
#include <string_view>

/// Where images come from.
struct image_source {
    std::string_view folder;      ///< its path, up to and with the last slash
    image_cache* cache = nullptr; ///< borrowed; null: every image is decoded and scaled for itself
};

/// File names, without ".png", of the icons of an article's features, from the top of the banner down; null
/// behind the last. Borrowed from the article.
using icon_list = std::array<const char*, 7>;
[[nodiscard]] icon_list icons_of(const item& article);

/// Draws the column of feature icons of an article as a new region at the end of the display set: on
/// opaque black, one icon per feature that the article has, from the top down, each as wide as the
/// region and an eighth of it high when all icon files are equally high. The size and the numbers of
/// HDMI and USB connectors are written over their icons. An icon file that cannot be loaded is left out
/// with "Error: Cannot find image %s: %s\n", and the next one takes its place. A label that the font library
/// refuses, because the icon is a few pixels wide and the text would be scaled to an enormous size, is
/// reported, and the icon behind it then fails.
/// Fails without a message for a null argument and a width of 0; otherwise with the messages of
/// `is_on_display`, `paint_image` and `AddSurfaceRegion`.
[[nodiscard]] std::int32_t BuildFeaturesBanner(
    const region_format* format, const item* article, subpicture* display_set, const image_source& icons);
