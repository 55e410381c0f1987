#pragma once

#include "canvas.h"
#include "handles.h"
#include "picture.h"

#include <memory>
#include <span>
#include <string_view>

/// Icon files are twice as wide as the banner.
inline constexpr int icon_width = 176;
inline constexpr int icon_height = 137;

inline constexpr int logo_width = 320;
inline constexpr int logo_height = 96;

struct badge {
    const char* label = "";
    rgba top;
    rgba bottom;
};

/// A badge shaded from corner to corner on black, with a gloss, a rim, a disc and its label, all
/// antialiased.
void draw_icon(cairo_t* context, const badge& drawn);

/// The same in the shape of a brand's logo, on nothing.
void draw_logo(cairo_t* context, const badge& drawn);

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
