#pragma once

#include "article_places.h"
#include "finding.h"
#include "font_check.h"
#include "item.h"
#include "layout.h"
#include "layout_file.h"
#include "screen_region.h"
#include "subtitle_decoder.h"

#include <map>
#include <string>
#include <vector>

/// A region that the daemon draws for an article.
struct expected_region {
    std::string name{};                    ///< of the layout's region, or "banner"
    const layout_region* layout = nullptr; ///< null for the banner, whose box is fixed
    const char* text = nullptr;            ///< null for a picture
};

/// A PNG file that was looked at.
struct seen_picture {
    bool is_usable = false;
    int width = 0; ///< pixels
    int height = 0;
};

/// What is looked up once for all articles: fonts by their families, pictures by their paths.
struct checked_things {
    font_book fonts{};
    std::map<std::string, seen_picture> pictures{};
};

/// What articles are checked with, beside the article.
struct check_context {
    const layout_region* layout = nullptr;
    const layout_places& places;           ///< of the layout
    const std::string& folder;             ///< of icons and logos; its path ends with a slash
    const std::vector<std::string>& files; ///< in that folder
    checked_things& things;
};

/// The regions of an article, in their order.
std::vector<expected_region> expected_regions(const item& article, const layout_region* layout);

/// Gives each drawn region its name, which of the expected ones it is: those that have no pixel were left
/// out. Regions are told by their place, and by their size where that is fixed.
void name_regions(std::vector<screen_region>& drawn, const std::vector<expected_region>& expected);

/// What is wrong with an article's texts, logo and icons, and with the places of its regions.
finding_list check_article(const item& article, const article_places& places,
    const std::vector<expected_region>& expected, const check_context& context);

/// What is wrong with the regions as they were drawn, names and all.
finding_list check_regions(const std::vector<screen_region>& drawn,
    const std::vector<expected_region>& expected, const check_context& context);

/// Texts that can hardly be told from their grounds. The decoded regions are the drawn ones.
finding_list check_contrast(const std::vector<screen_region>& drawn,
    const std::vector<decoded_region>& decoded, const std::vector<expected_region>& expected,
    const check_context& context);
