#pragma once

#include "canvas.h"

inline constexpr rgba black{.alpha = 1};
inline constexpr rgba white{.red = 1, .green = 1, .blue = 1, .alpha = 1};

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

/// Lays a path around a box with round corners.
void round_box(cairo_t* context, double x, double y, double width, double height, double radius);

/// Writes a line of the given size whose baseline starts at the point.
void write_text(cairo_t* context, const char* text, double x, double y, double size);

/// A badge shaded from corner to corner on black, with a gloss, a rim, a disc and its label, all
/// antialiased.
void draw_icon(cairo_t* context, const badge& drawn);

/// The same in the shape of a brand's logo, on nothing.
void draw_logo(cairo_t* context, const badge& drawn);
