#pragma once

#include "article_check.h"
#include "banner.h"
#include "finding.h"
#include "item.h"
#include "layout.h"
#include "reuse.h"
#include "screen_picture.h"
#include "screen_region.h"
#include "stream_transfer.h"
#include "subtitle_decoder.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

/// What becomes of an article.
struct article_screen {
    bool prepared = false; ///< otherwise the daemon does not start, and there is no page
    std::vector<screen_region> regions{};
    decoded_page page{};    ///< as a receiver reads the encoded display set
    screen_picture drawn{}; ///< the page before its reduction to 16 colours; without pixels where nobody asks
    std::string failure{};  ///< what the daemon's code says when the article is not prepared
};

/// Reductions of regions by their pixels: articles have logos and whole banners in common.
using known_reductions = std::map<pixel_digest, plain::colour_reduction>;

/// Regions about whose colours there is nothing to say, in memory that several processes may share. Each has
/// one slot, which another one may take over; a slot that two write at a time stands for no region.
struct sound_regions {
    std::span<pixel_digest> slots{};
};

/// What is used again from one article to the next.
struct drawing_aids {
    image_cache images{};
    coded_regions encoded{};
    known_reductions reductions{};
    sound_regions sound{};   ///< without slots: every region is measured
    bool keep_drawn = false; ///< what was drawn, before its reduction to 16 colours
};

/// Draws and encodes the article with the daemon's own code and decodes it again. The encoded blocks go into
/// the stream and are the caller's. Icons come from the folder, whose path ends with a slash.
/// Pictures are the daemon's when all articles are drawn before anything else is, in their order: a font
/// keeps its state (see `AddTextSubtitle`), so measuring a text in between could change the next one.
article_screen make_screen(subtitle_stream& stream, const item& article, const layout_region* layout,
    const std::string& folder, drawing_aids& aids);

/// Names the regions of a screen by the layout and tells what is wrong with it. The findings have neither
/// article nor host nor screen yet. Regions of which there is nothing to tell become sound ones.
finding_list check_screen(article_screen& screen, const subtitle_stream& stream, const item& article,
    const article_places& places, const check_context& context, const sound_regions& sound);

/// A colour as the CLUT definition sends it (ETSI EN 300 743 7.2.4): Y 0 stands for full transparency.
clut_colour as_sent(const palette_entry& colour);

/// Packets that the block takes with its PES header, each PES packet beginning a new one.
std::uint32_t packets_of(const block& payload);
