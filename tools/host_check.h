#pragma once

#include "article_screen.h"
#include "cycle_time.h"
#include "shop.h"

#include <optional>
#include <string>
#include <vector>

/// What becomes of all articles of a host.
struct host_screens {
    std::vector<article_screen> screens{}; ///< of all articles, in their order
    std::optional<cycle_cost> cost{}; ///< nothing when an article cannot be prepared, or there is no room
    finding_list findings{};          ///< with article, host and screen
};

/// How a host is checked.
struct check_options {
    sound_regions sound{};   ///< they are not measured again
    bool keep_drawn = false; ///< of each screen the picture from before its reduction to 16 colours
};

/// Draws and encodes the articles that the state has loaded for the host, one after the other as the daemon
/// does, and then tells what is wrong with them. The encoded blocks go into the state.
host_screens check_host(
    driver_state& state, const shop_files& files, const std::string& host, const check_options& options = {});
