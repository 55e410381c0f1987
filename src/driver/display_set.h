#pragma once

#include "item.h"
#include "layout.h"
#include "picture.h"
#include "png_image.h"
#include "releaser.h"
#include "resources.h"
#include "text_region.h"

#include <memory>
#include <string_view>

/// Size of the display that the subtitles are made for, in pixels.
inline constexpr std::uint32_t display_width = 720;
inline constexpr std::uint32_t display_height = 576;

using owned_subpicture = std::unique_ptr<subpicture, releaser<subpicture_Delete>>;

/// Copies at most the first 256 bytes of a text, and no part of a UTF-8 character, into the style.
void set_text(text_style& style, std::string_view text);

/// Draws an article: its model, price, brand (logo, or else name), features and warranty, one region
/// each, in this order. The layout says where and how, except for the banner of features, whose box is
/// fixed. A region that the layout lacks and a text that the article lacks are left out. Null, after a
/// message through `perror`, when something cannot be drawn.
[[nodiscard]] owned_subpicture draw_article(const item& article, const layout_region* layout,
    const image_source& images = {.icon_directory = resources_directory});
