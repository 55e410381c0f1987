#pragma once

#include "layout.h"
#include "screen_picture.h"
#include "subtitle_decoder.h"

/// Contrast between a text and its ground: from 1 (the same) to 21 (black on white), by the formula of WCAG
/// 2.1. What is not opaque depends on the picture beneath.
struct text_contrast {
    double lowest = 1;
    double highest = 1;
};

/// The contrast ratio of two opaque colours (WCAG 2.1, "contrast ratio").
double contrast_ratio(const rgba_pixel& one, const rgba_pixel& other);

/// The contrast of a text region as it was decoded: between the colours in it that come nearest to those of
/// the layout, after the daemon's conversion; over black and over white.
text_contrast contrast_of(const decoded_region& region, const layout_region& layout);

/// What WCAG 2.1 (1.4.3) asks for: less of large letters, of 24 pixels and more. A line of the display
/// seen from four to five times its height is as large as WCAG's pixel.
double wanted_contrast(double size_pixels);

/// Below it a text can hardly be told from its ground: two thirds of what is asked for.
double least_contrast(double size_pixels);
