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

/// Draws and encodes the articles that the state has loaded for the host, one after the other as the daemon
/// does, and then tells what is wrong with them. The encoded blocks go into the state. Regions that are sound
/// are not measured again.
host_screens check_host(
    driver_state& state, const shop_files& files, const std::string& host, const sound_regions& sound = {});
