#pragma once

#include "findings.h"
#include "findings_json.h"
#include "shop.h"
#include "state.h"

/// Checks the articles of every host that the article file names, adding to the summary and the findings.
/// Each host has a process of its own, as it has a daemon of its own on its board: what one draws cannot
/// change how another's texts come out. As many run at a time as there are cores. Progress goes to standard
/// error when that is a terminal. `settings` has no services loaded.
void check_all_hosts(
    const shop_files& files, const driver_state& settings, check_summary& summary, finding_groups& findings);
