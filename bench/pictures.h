#pragma once

#include "handles.h"
#include "picture.h"

#include <memory>
#include <span>
#include <string_view>

using drawn_page = std::unique_ptr<subpicture, releaser<subpicture_Delete>>;

/// A picture to measure with, drawn the same every time on the same cairo and fonts.
struct bench_picture {
    const char* name = "";
    drawn_page (*draw)() = nullptr; ///< a display set with this one "YUVA" region
};

/// A banner of antialiased icons and labels, a line of text, a photographic picture and artwork
/// without antialiasing.
std::span<const bench_picture> bench_pictures();

/// The picture of that name; null when there is none.
const bench_picture* find_picture(std::string_view name);
