#pragma once

#include "finding.h"
#include "item.h"
#include "layout.h"
#include "screen_region.h"

#include <string>
#include <vector>

/// A region that the daemon draws for an article.
struct expected_region {
    std::string name{};                    ///< of the layout's region, or "banner"
    const layout_region* layout = nullptr; ///< null for the banner, whose box is fixed
    const char* text = nullptr;            ///< null for a picture
};

/// The regions of an article, in their order.
std::vector<expected_region> expected_regions(const item& article, const layout_region* layout);

/// Gives each drawn region its name, which of the expected ones it is: those that have no pixel were left
/// out. Regions are told by their place, and by their size where that is fixed.
void name_regions(std::vector<screen_region>& drawn, const std::vector<expected_region>& expected);

/// What is wrong with an article's texts, logo and icons, and with the places of its regions. The icons
/// lie in the folder, whose path ends with a slash.
finding_list check_article(
    const item& article, const std::vector<expected_region>& expected, const std::string& folder);

/// What is wrong with the regions as they were drawn, names and all.
finding_list check_regions(
    const std::vector<screen_region>& drawn, const std::vector<expected_region>& expected);

/// Regions that the layout lacks, and those that are of no use in it.
finding_list check_layout(const layout_region* layout);
