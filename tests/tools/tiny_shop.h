#pragma once

#include "temporary.h"

#include <cstdint>
#include <string>
#include <vector>

/// Writes a PNG file; `argb` gives the pixel (0xAARRGGBB) of a column and line.
void write_png(const std::string& path, int width, int height, std::uint32_t (*argb)(int column, int line));

/// The pixel of a PNG file as 0xAARRGGBB; 0 when there is none.
std::uint32_t pixel_of_png(const std::string& path, int column, int line);

/// What a run of the preview left behind.
struct preview_run {
    int status = -1;
    std::string report;
    std::string messages; ///< of standard error
};

/// A resources folder for host "stand-1" with one article, "A1", on a layout that draws its price,
/// black on white, at (100,200), and one icon, led.png. Pictures go to the folder "out" beside it.
struct tiny_shop {
    tiny_shop();

    void write_articles(const std::string& articles) const;
    void write_layout(const std::string& regions) const;
    [[nodiscard]] preview_run run(std::vector<std::string> options = {}) const;
    [[nodiscard]] std::string output(const std::string& name) const;

    temporary_folder folder;
    environment settings{
        {"PREF_SYSTEM_NETWORK_HOSTNAME", "stand-1"}, {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"}};
};

/// An article of the host with these elements.
std::string article(
    const std::string& code, const std::string& elements, const std::string& host = "stand-1");

/// A region of the layout with an opaque white ground.
std::string region(
    const std::string& name, const std::string& place, const std::string& text_attributes = "");
