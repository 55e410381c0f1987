#include "screen_file.h"

#include "canvas.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

constexpr std::uint32_t display_width = screen_picture{}.width;
constexpr std::uint32_t display_height = screen_picture{}.height;
constexpr std::size_t display_pixels = std::size_t{display_width} * display_height;
constexpr region_format whole_display{.width = display_width, .height = display_height};
constexpr double grey = 0x60 / 255.0;

bool is_hexadecimal(std::string_view text)
{
    return std::ranges::all_of(text, [](unsigned char character) { return std::isxdigit(character) != 0; });
}

std::optional<rgba_pixel> parse_colour(std::string_view text)
{
    if (text.starts_with('#'))
        text.remove_prefix(1);
    if (text.size() != 6 || !is_hexadecimal(text))
        return std::nullopt;
    const auto value = static_cast<std::uint32_t>(std::stoul(std::string(text), nullptr, 16));
    return rgba_pixel{static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
        static_cast<std::uint8_t>(value), 255};
}

/// The 32 bits of an opaque pixel on a surface, 0xAARRGGBB, and back.
std::uint32_t word_of(const rgba_pixel& pixel)
{
    return 0xFF000000U | std::uint32_t{pixel[0]} << 16 | std::uint32_t{pixel[1]} << 8 | pixel[2];
}

rgba_pixel pixel_of(std::uint32_t word)
{
    return {static_cast<std::uint8_t>(word >> 16), static_cast<std::uint8_t>(word >> 8),
        static_cast<std::uint8_t>(word), 255};
}

/// The same of a surface with opacity, by which cairo multiplies the colours.
std::uint32_t multiplied_word(const rgba_pixel& pixel)
{
    const auto part = [&](std::size_t i) { return (std::uint32_t{pixel[i]} * pixel[3] + 127) / 255; };
    return std::uint32_t{pixel[3]} << 24 | part(0) << 16 | part(1) << 8 | part(2);
}

unsigned char* word_at(cairo_surface_t* surface, std::size_t position)
{
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface));
    return cairo_image_surface_get_data(surface) + position / display_width * stride
        + position % display_width * sizeof(std::uint32_t);
}

cairo_status_t append_bytes(void* text, const unsigned char* bytes, unsigned int count)
{
    static_cast<std::string*>(text)->append(bytes, bytes + count);
    return CAIRO_STATUS_SUCCESS;
}

void paint_stretched(cairo_t* context, cairo_surface_t* image)
{
    const double width = display_width;
    const double height = display_height;
    cairo_scale(context, width / cairo_image_surface_get_width(image),
        height / cairo_image_surface_get_height(image));
    cairo_set_source_surface(context, image, 0, 0);
    cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD); // no soft edges
    cairo_paint(context);
}

background stretched_picture(const std::string& path)
{
    const owned_surface image(cairo_image_surface_create_from_png(path.c_str()));
    if (const cairo_status_t status = cairo_surface_status(image.get()); status != CAIRO_STATUS_SUCCESS)
        return {.error = "cannot use the background " + path + ": " + cairo_status_to_string(status)};
    const canvas drawn = new_canvas(whole_display);
    fill(drawn.context.get(), whole_display, {.red = grey, .green = grey, .blue = grey, .alpha = 1});
    paint_stretched(drawn.context.get(), image.get());
    cairo_surface_flush(drawn.surface.get());
    background ground;
    for (std::size_t i = 0; i < display_pixels; ++i) {
        std::uint32_t word = 0;
        std::memcpy(&word, word_at(drawn.surface.get(), i), sizeof word);
        ground.pixels.push_back(pixel_of(word));
    }
    return ground;
}

} // namespace

background make_background(const std::string& colour_or_path)
{
    if (const auto colour = parse_colour(colour_or_path))
        return {.pixels = std::vector<rgba_pixel>(display_pixels, *colour)};
    return stretched_picture(colour_or_path);
}

std::vector<rgba_pixel> lay_over(const background& ground, const screen_picture& screen)
{
    std::vector<rgba_pixel> pixels = ground.pixels;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const rgba_pixel& above = screen.pixels[i];
        const unsigned opacity = above[3];
        for (std::size_t part = 0; part < 3; ++part)
            pixels[i][part] = static_cast<std::uint8_t>(
                (above[part] * opacity + pixels[i][part] * (255 - opacity) + 127) / 255);
    }
    return pixels;
}

std::string png_of(const screen_picture& picture)
{
    const canvas drawn = new_canvas(whole_display);
    if (cairo_surface_status(drawn.surface.get()) != CAIRO_STATUS_SUCCESS)
        return "";
    cairo_surface_flush(drawn.surface.get());
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        const std::uint32_t word = multiplied_word(picture.pixels[i]);
        std::memcpy(word_at(drawn.surface.get(), i), &word, sizeof word);
    }
    cairo_surface_mark_dirty(drawn.surface.get());
    std::string bytes;
    cairo_surface_write_to_png_stream(drawn.surface.get(), append_bytes, &bytes);
    return bytes;
}

std::string write_screen(const std::vector<rgba_pixel>& pixels, const std::string& path)
{
    const owned_surface surface(cairo_image_surface_create(
        CAIRO_FORMAT_RGB24, static_cast<int>(display_width), static_cast<int>(display_height)));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return "cannot make " + path + ": " + cairo_status_to_string(cairo_surface_status(surface.get()));
    cairo_surface_flush(surface.get());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const std::uint32_t word = word_of(pixels[i]);
        std::memcpy(word_at(surface.get(), i), &word, sizeof word);
    }
    cairo_surface_mark_dirty(surface.get());
    const cairo_status_t status = cairo_surface_write_to_png(surface.get(), path.c_str());
    return status == CAIRO_STATUS_SUCCESS ? ""
                                          : "cannot write " + path + ": " + cairo_status_to_string(status);
}
