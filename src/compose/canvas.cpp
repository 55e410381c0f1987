#include "canvas.h"

canvas new_canvas(int width, int height)
{
    canvas fresh;
    fresh.surface.reset(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    fresh.context.reset(cairo_create(fresh.surface.get()));
    return fresh;
}

canvas new_canvas(const region_format& format)
{
    // A size beyond the range of int becomes a negative one, which cairo refuses.
    return new_canvas(static_cast<int>(format.width), static_cast<int>(format.height));
}

void set_colour(cairo_t* context, const rgba& colour)
{
    cairo_set_source_rgba(context, colour.red, colour.green, colour.blue, colour.alpha);
}

void fill(cairo_t* context, const region_format& format, const rgba& colour)
{
    set_colour(context, colour);
    cairo_rectangle(context, 0, 0, format.width, format.height);
    cairo_fill(context);
}

void select_font(cairo_t* context, const char* family, double size)
{
    cairo_select_font_face(context, family, CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, size);
}
