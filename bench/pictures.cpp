#include "pictures.h"

#include "surface_region.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <numbers>
#include <random>
#include <string>
#include <utility>

namespace {

constexpr rgba black{.alpha = 1};
constexpr rgba white{.red = 1, .green = 1, .blue = 1, .alpha = 1};

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

/// Lays a path around a box with round corners.
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

/// Writes a line of the given size whose baseline starts at the point.
void write_text(cairo_t* context, const char* text, double x, double y, double size)
{
    select_font(context, "Liberation Sans", size);
    cairo_move_to(context, x, y);
    cairo_show_text(context, text);
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

constexpr region_format banner_format{
    .chroma = chroma_yuva, .width = 88, .height = 550, .bits_per_pixel = 32};
constexpr region_format text_format{.chroma = chroma_yuva, .width = 300, .height = 60, .bits_per_pixel = 32};

drawn_page page_of(const region_format& format, const std::function<void(const canvas&)>& draw)
{
    drawn_page page(subpicture_New(1, 720, 576));
    canvas drawn = new_canvas(format);
    draw(drawn);
    if (AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), format, *page) != drawing_done)
        std::abort();
    return page;
}

constexpr std::array<badge, 7> icons{{
    {.label = "OLED", .top = {.9, .2, .15, 1}, .bottom = {.5, .05, .1, 1}},
    {.label = "50\"", .top = {.95, .95, .9, 1}, .bottom = {.6, .65, .7, 1}},
    {.label = "4K", .top = {.1, .35, .8, 1}, .bottom = {.05, .12, .35, 1}},
    {.label = "HD", .top = {.15, .6, .3, 1}, .bottom = {.05, .3, .2, 1}},
    {.label = "X 4", .top = {.98, .75, .1, 1}, .bottom = {.8, .4, .05, 1}},
    {.label = "X 2", .top = {.5, .5, .55, 1}, .bottom = {.15, .15, .2, 1}},
    {.label = "3D", .top = {.55, .2, .7, 1}, .bottom = {.1, .5, .7, 1}},
}};

/// The icons one below the other, scaled to the banner's width as the daemon does it.
void draw_banner(const canvas& target)
{
    fill(target.context.get(), banner_format, black);
    const double scale = double{banner_format.width} / icon_width;
    cairo_scale(target.context.get(), scale, scale);
    double y = 0;
    for (const badge& drawn : icons) {
        const canvas picture = new_canvas(icon_width, icon_height);
        draw_icon(picture.context.get(), drawn);
        cairo_set_source_surface(target.context.get(), picture.surface.get(), 0, y);
        cairo_paint(target.context.get());
        y += icon_height;
    }
}

void draw_text(const canvas& target)
{
    fill(target.context.get(), text_format, {.red = .06, .green = .11, .blue = .18, .alpha = .9});
    set_colour(target.context.get(), white);
    write_text(target.context.get(), "Tessoval TV-50 Q", 4, 44, 36);
}

/// A sky, hills and a lit disc, with the noise of a camera.
void draw_photograph(const canvas& target)
{
    std::minstd_rand numbers(7);
    const auto noise = [&] { return static_cast<int>(numbers() % 25) - 12; };
    cairo_surface_t* const surface = target.surface.get();
    unsigned char* const rows = cairo_image_surface_get_data(surface);
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface));
    for (std::size_t line = 0; line < banner_format.height; ++line) {
        for (std::size_t column = 0; column < banner_format.width; ++column) {
            const double x = static_cast<double>(column) / banner_format.width;
            const double y = static_cast<double>(line) / banner_format.height;
            const double light = 200 * std::exp(-8 * ((x - .6) * (x - .6) + 9 * (y - .3) * (y - .3)));
            const double hill = y > .6 + .1 * std::sin(7 * x) + .03 * std::sin(40 * x) ? 1 : 0;
            const auto channel = [&](double value) {
                const int noisy = static_cast<int>(value) + noise();
                return static_cast<std::uint32_t>(std::clamp(noisy, 0, 255));
            };
            const std::uint32_t red = channel(60 + light + 60 * hill * (1 - y));
            const std::uint32_t green = channel(110 + .8 * light * (1 - hill) - 60 * y + 40 * hill * x);
            const std::uint32_t blue = channel(200 - 160 * y + .4 * light - 60 * hill);
            const std::uint32_t argb = 0xFF000000 | red << 16 | green << 8 | blue;
            std::memcpy(rows + line * stride + 4 * column, &argb, sizeof argb);
        }
    }
    cairo_surface_mark_dirty(surface);
}

/// Plain boxes, discs and letters in twelve colours, with hard edges.
void draw_artwork(const canvas& target)
{
    cairo_t* const context = target.context.get();
    cairo_set_antialias(context, CAIRO_ANTIALIAS_NONE);
    fill(context, banner_format, {.red = .1, .green = .1, .blue = .3, .alpha = 1});
    for (int i = 0; i < 11; ++i) {
        set_colour(context, {.red = i % 3 * .45, .green = i % 4 * .3, .blue = i % 5 * .2, .alpha = 1});
        const double y = 8 + 49. * i;
        if (i % 2 == 0)
            round_box(context, 8, y, 72, 36, 9);
        else
            cairo_arc(context, 44, y + 18, 18, 0, 2 * std::numbers::pi);
        cairo_fill(context);
        set_colour(context, white);
        cairo_rectangle(context, 30, y + 14, 28, 6);
        cairo_fill(context);
    }
}

constexpr bench_picture pictures[] = {
    {.name = "banner", .draw = [] { return page_of(banner_format, draw_banner); }},
    {.name = "text", .draw = [] { return page_of(text_format, draw_text); }},
    {.name = "photograph", .draw = [] { return page_of(banner_format, draw_photograph); }},
    {.name = "artwork", .draw = [] { return page_of(banner_format, draw_artwork); }},
};

} // namespace

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

std::span<const bench_picture> bench_pictures()
{
    return pictures;
}

const bench_picture* find_picture(std::string_view name)
{
    const auto* const found = std::ranges::find_if(
        pictures, [name](const bench_picture& candidate) { return candidate.name == name; });
    return found == std::end(pictures) ? nullptr : found;
}
