#include "badges.h"

#include <numbers>

namespace {

constexpr rgba gloss{.red = 1, .green = 1, .blue = 1, .alpha = .4};
constexpr rgba clear{.red = 1, .green = 1, .blue = 1, .alpha = 0};

void shade(cairo_t* context, cairo_pattern_t* pattern, const rgba& from, const rgba& to)
{
    cairo_pattern_add_color_stop_rgba(pattern, 0, from.red, from.green, from.blue, from.alpha);
    cairo_pattern_add_color_stop_rgba(pattern, 1, to.red, to.green, to.blue, to.alpha);
    cairo_set_source(context, pattern);
    cairo_fill_preserve(context);
    cairo_pattern_destroy(pattern);
}

void draw_badge(cairo_t* context, const badge& drawn, int width, int height)
{
    round_box(context, 10, 10, width - 20, height - 20, 24);
    shade(context, cairo_pattern_create_linear(10, 10, width - 10, height - 10), drawn.top, drawn.bottom);
    shade(context, cairo_pattern_create_radial(50, 30, 0, 50, 30, 50), gloss, clear);
    set_colour(context, white);
    cairo_set_line_width(context, 4);
    cairo_stroke(context);
    cairo_arc(context, width - 36, 38, 12, 0, 2 * std::numbers::pi);
    cairo_fill(context);
    write_text(context, drawn.label, 30, height - 32, 52);
}

} // namespace

void round_box(cairo_t* context, double x, double y, double width, double height, double radius)
{
    constexpr double quarter = std::numbers::pi / 2;
    cairo_new_sub_path(context);
    cairo_arc(context, x + width - radius, y + radius, radius, -quarter, 0);
    cairo_arc(context, x + width - radius, y + height - radius, radius, 0, quarter);
    cairo_arc(context, x + radius, y + height - radius, radius, quarter, 2 * quarter);
    cairo_arc(context, x + radius, y + radius, radius, 2 * quarter, 3 * quarter);
    cairo_close_path(context);
}

void write_text(cairo_t* context, const char* text, double x, double y, double size)
{
    select_font(context, "Liberation Sans", size);
    cairo_move_to(context, x, y);
    cairo_show_text(context, text);
}

void draw_icon(cairo_t* context, const badge& drawn)
{
    set_colour(context, black);
    cairo_paint(context);
    draw_badge(context, drawn, icon_width, icon_height);
}

void draw_logo(cairo_t* context, const badge& drawn)
{
    draw_badge(context, drawn, logo_width, logo_height);
}
