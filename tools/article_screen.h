#pragma once

#include "banner.h"
#include "finding.h"
#include "item.h"
#include "layout.h"
#include "reuse.h"
#include "screen_region.h"
#include "stream_transfer.h"
#include "subtitle_decoder.h"

#include <cstdint>
#include <vector>

/// What becomes of an article.
struct article_screen {
    bool prepared = false; ///< otherwise the daemon does not start, and there is no page
    std::vector<screen_region> regions{};
    decoded_page page{}; ///< as a receiver reads the encoded display set
};

/// Draws and encodes the article with the daemon's own code, which says what goes wrong on standard
/// error, and decodes it again. The encoded blocks go into the stream and are the caller's. Icons come from
/// the images' folder; images and encoded regions are used again from one article to the next.
/// Pictures are the daemon's when all articles are drawn before anything else is, in their order: a font
/// keeps its state (see `AddTextSubtitle`), so measuring a text in between could change the next one.
article_screen make_screen(subtitle_stream& stream, const item& article, const layout_region* layout,
    const image_source& images, coded_regions& encoded);

/// Names the regions of a screen by the layout and tells what is wrong with it. Icons are looked for in the
/// folder, whose path ends with a slash.
finding_list check_screen(article_screen& screen, const subtitle_stream& stream, const item& article,
    const layout_region* layout, const std::string& folder);

/// Packets that the block takes with its PES header, each PES packet beginning a new one.
std::uint32_t packets_of(const block& payload);
