#pragma once

#include "image.h"
#include "item.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

/// Where images come from.
struct image_source {
    std::string_view folder;      ///< its path, up to and with the last slash
    image_cache* cache = nullptr; ///< borrowed; null: every image is decoded and scaled for itself
};

/// The font of all labels. Its size is in pixels of the icon file, whose scale the labels share.
inline constexpr const char* label_font = "Arial";
inline constexpr double label_font_size = 40;

/// The banner is divided into so many slots of equal height, of which an icon fills one.
inline constexpr std::uint32_t icon_slots = 8;

/// A part of an icon's width or height.
struct fraction {
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 1;
};

constexpr std::uint32_t operator*(const fraction& part, std::uint32_t whole)
{
    return part.numerator * whole / part.denominator;
}

/// Where a label is written over its icon: the prefix, then the text. The origin is the start of the
/// baseline.
struct label_layout {
    const char* prefix = "";
    fraction x;
    fraction y;
};

/// The icon of a feature that an article has. Borrowed from the article.
struct feature_icon {
    const char* name = nullptr; ///< of its file, without ".png"; null: no icon
    const char* text = nullptr; ///< of its label
    std::optional<label_layout> label = {};
};

/// From the top of the banner down, and behind the last icon those without a name.
using icon_list = std::array<feature_icon, 7>;
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
