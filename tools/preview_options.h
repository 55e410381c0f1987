#pragma once

#include <string>

/// What the command line of the preview asks for.
struct preview_options {
    bool help = false;
    bool version = false;
    std::string error{}; ///< why the command line cannot be followed; empty when it can

    std::string resources = "/usr/playout/.medias/resources/"; ///< folder; its path ends with a slash
    std::string background = "#606060";                        ///< a colour or the path of a PNG file
    std::string output = "preview";                            ///< folder
    std::string article{};        ///< code of the only article to show; empty: all
    std::string host{};           ///< whose articles; empty: that of the settings
    std::string format = "human"; ///< of the report; or "json"
    bool all_hosts = false;       ///< check every host of the article file
    bool strict = false;          ///< warnings count as errors
};

/// Reads the command line. What is wrong with it is said in `error`.
preview_options parse_preview_options(int argc, char** argv);

/// The text of --help.
std::string preview_help();
