#pragma once

#include <string>

/// How much the articles of a shop have in common.
enum class shop_kind {
    different, ///< every text, logo and banner appears once; only the icon files are shared
    shared,    ///< as in a real shop: six brands, eight sets of features, a few prices and warranties
};

/// Draws the pictures of a shop of the host "shop-tv-1" and writes them, the articles and a layout into
/// the folder, whose path ends with a slash. Ends the process when a file cannot be written.
void write_shop(const std::string& folder, shop_kind kind, int articles = 40);
