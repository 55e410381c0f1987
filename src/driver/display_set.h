#pragma once

#include "handles.h"
#include "image_cache.h"
#include "item.h"
#include "layout.h"
#include "picture.h"
#include "resources.h"
#include "reuse.h"
#include "text_region.h"

#include <memory>
#include <string_view>

/// Size of the display that the subtitles are made for, in pixels.
inline constexpr std::uint32_t display_width = 720;
inline constexpr std::uint32_t display_height = 576;

using owned_subpicture = std::unique_ptr<subpicture, releaser<subpicture_Delete>>;

/// Copies at most the first 256 bytes of a text, and no part of a UTF-8 character, into the style.
void set_text(text_style& style, std::string_view text);

/// What articles have in common: kept while they are drawn and encoded one after the other.
struct common_drawings {
    image_cache images{};
    coded_regions regions{};
};

/// Draws an article: its model, price, brand (logo, or else name), features and warranty, one region
/// each, in this order. The layout says where and how, except for the banner of features, whose box is
/// fixed. A region that the layout lacks and a text that the article lacks are left out. The icons of
/// the features come from the directory, whose path ends with a slash. With `common` the display set
/// borrows from it, and a region whose like it knows as coded has no pixels of its own. Null, after a
/// message through `perror`, when something cannot be drawn.
[[nodiscard]] owned_subpicture draw_article(const item& article, const layout_region* layout,
    std::string_view icon_directory = resources_directory, common_drawings* common = nullptr);
