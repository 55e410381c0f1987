#pragma once

#include "article_file.h"
#include "article_places.h"
#include "finding.h"
#include "layout_file.h"
#include "state.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// An article of the file that is not shown.
struct dropped_article {
    std::string code{}; ///< empty when it has none
    std::string reason{};
    bool is_near = false; ///< of the host in question, or of none
};

/// The files of a shop, or of a chain of shops, in one folder.
struct shop_files {
    std::string folder{}; ///< its path ends with a slash
    file_bytes articles{};
    file_bytes reference{};
    article_file_frame article_frame{};
    article_file_frame reference_frame{};
    std::vector<article_element> listed{};                   ///< all articles, in the order of the file
    std::vector<article_element> catalogue{};                ///< those of the reference file, by code
    std::map<std::string, std::vector<std::size_t>> hosts{}; ///< the listed articles of each
    layout_places layout{};
    std::vector<std::string> names{};                ///< of all files in the folder
    std::map<std::string, std::string> near_codes{}; ///< of articles, with those that the reference file has
};

/// Takes what is found, in any order.
using finding_taker = std::function<void(const finding& found)>;

/// Reads the files, and tells what is found in them: about articles of this host, or with none of all hosts.
shop_files read_shop(
    const std::string& folder, const std::optional<std::string>& host, const finding_taker& take);

/// Where the articles of a host stand, in their order, and their texts; at most as many as are shown.
std::vector<article_places> places_of(const shop_files& files, const std::string& host);

/// The articles of the file that are not shown on the host: its own and those of none, then the others, each
/// in the order of the file.
std::vector<dropped_article> dropped_articles(const shop_files& files, const std::string& host);

/// What is wrong with the articles of a host together: with their channels and codes, and when there are too
/// many.
finding_list check_articles(const shop_files& files, const std::string& host, const driver_state& state,
    const std::vector<article_places>& places);

/// What is wrong with the settings.
finding_list check_settings();

/// Loads the services of the host that the settings name from the folder, whose path ends with a slash, as
/// the daemon does, into the state, which holds its settings.
void load_shop(driver_state& state, const std::string& folder);

/// Does the same for another host from files that were read, without reading all of their articles again.
/// Their layout is the caller's.
void load_host(driver_state& state, const shop_files& files, const std::string& host, layout_region* layout);

/// Without an article for the host, or for any, what that means.
finding no_article(const shop_files& files, const std::string& host);

inline constexpr const char* host_setting = "PREF_SYSTEM_NETWORK_HOSTNAME";
