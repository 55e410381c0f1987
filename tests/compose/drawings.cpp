#include "drawings.h"

#include "capture.h"

#include <algorithm>
#include <gtest/gtest.h>

owned_subpicture new_display_set()
{
    return owned_subpicture(subpicture_New(1, 720, 576));
}

outcome outcome_of(const std::function<std::int32_t(subpicture*)>& draw)
{
    outcome drawn;
    drawn.messages = stderr_of([&] { drawn.result = draw(drawn.display_set.get()); });
    return drawn;
}

const subpicture_region* region_of(const outcome& drawn)
{
    return drawn.display_set->regions;
}

region_format yuva_format(std::uint32_t width, std::uint32_t height, std::uint32_t x, std::uint32_t y)
{
    return {.chroma = chroma_yuva, .width = width, .height = height, .x = x, .y = y, .bits_per_pixel = 32};
}

std::size_t region_count(const subpicture& display_set)
{
    std::size_t count = 0;
    for (const auto* region = display_set.regions; region != nullptr; region = region->next)
        ++count;
    return count;
}

std::string shape_of(const subpicture_region* region)
{
    if (region == nullptr)
        return "none";
    std::string shape = std::to_string(region->width) + "x" + std::to_string(region->height) + "+"
        + std::to_string(region->x) + "+" + std::to_string(region->y);
    for (const auto& plane : region->picture->planes) {
        if (static_cast<std::uint32_t>(plane.pitch) != region->width
            || static_cast<std::uint32_t>(plane.lines) != region->height)
            shape += " plane " + std::to_string(plane.pitch) + "x" + std::to_string(plane.lines);
    }
    if (region->chroma != chroma_yuva || region->bits_per_pixel != 32)
        shape += " of another kind";
    return shape;
}

yuva pixel_of(const subpicture_region* region, std::uint32_t column, std::uint32_t line)
{
    const auto& planes = region->picture->planes;
    const std::size_t at = std::size_t{line} * static_cast<std::size_t>(planes[0].pitch) + column;
    return {planes[0].pixels[at], planes[1].pixels[at], planes[2].pixels[at], planes[3].pixels[at]};
}

box ink_of(const subpicture_region* region, const yuva& background)
{
    return ink_of(region, background, region->height);
}

box ink_of(const subpicture_region* region, const yuva& background, std::uint32_t lines)
{
    box ink;
    for (std::uint32_t line = 0; line < lines; ++line) {
        for (std::uint32_t column = 0; column < region->width; ++column) {
            if (pixel_of(region, column, line) == background)
                continue;
            const auto x = static_cast<int>(column);
            const auto y = static_cast<int>(line);
            const bool first = ink == box{};
            ink = {.left = first ? x : std::min(ink.left, x),
                .top = first ? y : ink.top,
                .right = std::max(ink.right, x + 1),
                .bottom = y + 1};
        }
    }
    return ink;
}

std::ostream& operator<<(std::ostream& out, const yuva& pixel)
{
    return out << "Y " << +pixel.y << " U " << +pixel.u << " V " << +pixel.v << " A " << +pixel.a;
}

std::ostream& operator<<(std::ostream& out, const box& ink)
{
    return out << "columns " << ink.left << " to " << ink.right << ", lines " << ink.top << " to "
               << ink.bottom;
}

cairo_text_extents_t extents_of(const char* font, double size, const char* text)
{
    const owned_surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1000, 1000));
    const owned_context context(cairo_create(surface.get()));
    cairo_select_font_face(context.get(), font, CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context.get(), size);
    cairo_text_extents_t extents;
    cairo_text_extents(context.get(), text, &extents);
    return extents;
}

std::string write_png(const temporary_folder& folder, const std::string& name, int width, int height,
    const std::function<void(cairo_t*)>& draw, cairo_format_t pixel_format)
{
    auto path = (folder.path / name).string();
    const owned_surface surface(cairo_image_surface_create(pixel_format, width, height));
    const owned_context context(cairo_create(surface.get()));
    draw(context.get());
    EXPECT_EQ(cairo_surface_write_to_png(surface.get(), path.c_str()), CAIRO_STATUS_SUCCESS) << path;
    return path;
}

std::string write_png(
    const temporary_folder& folder, const std::string& name, int width, int height, std::uint32_t colour)
{
    const auto component = [colour](std::uint32_t shift) { return (colour >> shift & 0xFF) / 255.0; };
    return write_png(folder, name, width, height, [&](cairo_t* context) {
        cairo_set_source_rgba(context, component(16), component(8), component(0), component(24));
        cairo_paint(context);
    });
}
