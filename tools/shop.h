#pragma once

#include "finding.h"
#include "state.h"

#include <string>
#include <vector>

/// An article of the file that is not shown.
struct dropped_article {
    std::string code{}; ///< empty when it has none
    std::string reason{};
};

/// What is to be said of the files and the settings.
struct shop {
    std::vector<dropped_article> dropped{}; ///< in the order of the file
    finding_list findings{};
};

/// Loads the services of the host that the settings name from the folder, whose path ends with a slash, as
/// the daemon does, into the state, which holds its settings. What the daemon's parsers say goes to
/// standard error.
shop load_shop(driver_state& state, const std::string& folder);
