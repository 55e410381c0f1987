#pragma once

#include "finding.h"
#include "item.h"
#include "layout.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct article_releaser {
    void operator()(item* first) const;
};
using owned_articles = std::unique_ptr<item, article_releaser>;

struct layout_releaser {
    void operator()(layout_region* first) const;
};
using owned_layout = std::unique_ptr<layout_region, layout_releaser>;

/// An article of the file that is not shown.
struct dropped_article {
    std::string code{}; ///< empty when it has none
    std::string reason{};
};

/// What the daemon takes from the resources folder.
struct shop {
    owned_articles articles{}; ///< those shown come first
    std::uint32_t shown = 0;   ///< how many are
    owned_layout layout{};
    std::vector<dropped_article> dropped{}; ///< in the order of the file
    finding_list findings{};                ///< about the files and the settings
};

/// Reads the three files of the folder, whose path ends with a slash, for the host that the settings
/// name. What the daemon's parsers say goes to standard error.
shop load_shop(const std::string& folder);
