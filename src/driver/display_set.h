#pragma once

#include "banner.h"
#include "handles.h"
#include "item.h"
#include "layout.h"
#include "picture.h"

#include <memory>

/// Size of the display that the subtitles are made for, in pixels.
inline constexpr std::uint32_t display_width = 720;
inline constexpr std::uint32_t display_height = 576;

/// Where the banner of features lies, whatever the layout says.
inline constexpr region_format banner_box{.width = 88, .height = 550, .x = 603, .y = 14};

using owned_subpicture = std::unique_ptr<subpicture, releaser<subpicture_Delete>>;

/// Draws an article: its model, price, brand (logo, or else name), features and warranty, one region
/// each, in this order. The layout says where and how, except for the banner of features. A region that the
/// layout lacks and a text that the article lacks are left out. Null, after a message through `perror`,
/// when something cannot be drawn.
[[nodiscard]] owned_subpicture draw_article(
    const item& article, const layout_region* layout, const image_source& images);
