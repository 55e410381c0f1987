#pragma once

#include "banner.h"
#include "finding.h"
#include "item.h"
#include "layout.h"
#include "plain_conversion.h"
#include "reuse.h"
#include "stream_transfer.h"
#include "subtitle_decoder.h"

#include <cstdint>
#include <string>
#include <vector>

/// One region of a screen.
struct screen_region {
    std::string name{};
    std::uint32_t x = 0; ///< on the display, pixels
    std::uint32_t y = 0;
    std::uint32_t width = 0; ///< pixels
    std::uint32_t height = 0;
    plain::colour_reduction colours{};
};

/// What becomes of an article.
struct article_screen {
    bool prepared = false; ///< otherwise the daemon does not start, and only the findings are filled
    std::vector<screen_region> regions{};
    decoded_page page{}; ///< as a receiver reads the encoded display set
    finding_list findings{};
};

/// Draws and encodes the article with the daemon's own code, which says what goes wrong on standard
/// error, and decodes it again. The encoded blocks go into the stream and are the caller's. Icons come from
/// the images' folder; images and encoded regions are used again from one article to the next.
article_screen make_screen(subtitle_stream& stream, const item& article, const layout_region* layout,
    const image_source& images, coded_regions& encoded);

/// Packets that the block takes with its PES header, each PES packet beginning a new one.
std::uint32_t packets_of(const block& payload);
