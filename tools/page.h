#pragma once

#include "findings_json.h"
#include "host_check.h"
#include "screen_file.h"
#include "shop.h"

#include <string>

/// What a page shows of a host.
struct page_content {
    const std::string& host;
    const std::string& article; ///< code of the only one to show; empty: all
    const background& ground;
    const shop_files& files;
    const driver_state& state;
    const host_screens& all; ///< with the pictures from before their reduction
    const check_summary& summary;
    const finding_list& findings;
};

/// All that the page draws, as one JSON object in UTF-8 with pictures as data URIs. For the page of this very
/// version: it may change with the next.
std::string page_data(const page_content& content);

/// The page, which needs nothing but itself. The data are those of `page_data`, or of a server that has
/// added to them.
std::string page_html(const std::string& data);
