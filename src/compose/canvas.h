#pragma once

#include "handles.h"
#include "picture.h"

#include <cairo.h>
#include <memory>

using owned_surface = std::unique_ptr<cairo_surface_t, releaser<cairo_surface_destroy>>;
using owned_context = std::unique_ptr<cairo_t, releaser<cairo_destroy>>;

/// Components from 0.0 to 1.0; alpha 1.0 is opaque.
struct rgba {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 0;
};

/// What a region is drawn on: an ARGB32 surface, fully transparent at first, and its drawing context
/// without a transformation, so that a unit is a pixel.
struct canvas {
    owned_surface surface;
    owned_context context;
};

/// A canvas of that many pixels. One that cairo refuses (negative, more than 32767 pixels wide or
/// high, no memory) is in an error state: its surface has no pixels and drawing is ignored.
canvas new_canvas(int width, int height);

/// A canvas of the format's size.
canvas new_canvas(const region_format& format);

/// The colour of what is drawn next.
void set_colour(cairo_t* context, const rgba& colour);

/// Fills the rectangle of the format's size from the top left corner on.
void fill(cairo_t* context, const region_format& format, const rgba& colour);

/// The upright, regular font of a family, or of one that stands in for it, in pixels. A null family
/// puts the context in an error state: later drawing is ignored.
void select_font(cairo_t* context, const char* family, double size);
