#pragma once

#include <optional>
#include <string>

/// What the command line of the preview asks for.
struct preview_options {
    bool help = false;
    bool version = false;
    std::string error{}; ///< why the command line cannot be followed; empty when it can

    std::string resources = "/usr/playout/.medias/resources/"; ///< folder; its path ends with a slash
    std::string background = "#606060";                        ///< a colour or the path of a PNG file
    std::string output{};         ///< folder of the pictures; empty: "preview", or none with a page
    std::string article{};        ///< code of the only article to show; empty: all
    std::string host{};           ///< whose articles; empty: that of the settings
    std::string format = "human"; ///< of the report; or "json"
    std::string html{};           ///< folder of the page; empty: none is written
    std::string serve{};          ///< port of the page, which is drawn anew after each change; empty: none
    std::string address = "127.0.0.1"; ///< that it is served on
    bool all_hosts = false;            ///< check every host of the article file
    bool strict = false;               ///< warnings count as errors
};

/// Reads the command line. What is wrong with it is said in `error`.
preview_options parse_preview_options(int argc, char** argv);

/// The port that --serve names; nothing when the text is none.
std::optional<int> port_of(const std::string& text);

/// The text of --help.
std::string preview_help();
