#pragma once

#include "handles.h"
#include "picture.h"
#include "surface_region.h"
#include "temporary.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

using owned_subpicture = std::unique_ptr<subpicture, releaser<subpicture_Delete>>;

/// An empty display set of the usual display, 720 x 576.
owned_subpicture new_display_set();

/// What one drawing operation, given an empty display set, has left behind.
struct outcome {
    std::int32_t result = 1;
    std::string messages;
    owned_subpicture display_set = new_display_set();
};
outcome outcome_of(const std::function<std::int32_t(subpicture*)>& draw);

/// Its first region, or null. It lives as long as the outcome.
const subpicture_region* region_of(const outcome& drawn);

/// A "YUVA" format at (40, 30) unless told otherwise.
region_format yuva_format(
    std::uint32_t width, std::uint32_t height, std::uint32_t x = 40, std::uint32_t y = 30);

std::size_t region_count(const subpicture& display_set);

/// "WxH+X+Y" of a region, from its own fields, its picture and its four planes where they agree;
/// what disagrees is told.
std::string shape_of(const subpicture_region* region);

yuva pixel_of(const subpicture_region* region, std::uint32_t column, std::uint32_t line);

/// The smallest rectangle around all pixels of another colour than `background`, its right and bottom
/// edges exclusive; all zero when there is none.
struct box {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    bool operator==(const box&) const = default;
};
box ink_of(const subpicture_region* region, const yuva& background);

/// The same in the first lines only.
box ink_of(const subpicture_region* region, const yuva& background, std::uint32_t lines);

std::ostream& operator<<(std::ostream& out, const yuva& pixel);
std::ostream& operator<<(std::ostream& out, const box& ink);

/// What cairo itself says of a text in a font of that size.
cairo_text_extents_t extents_of(const char* font, double size, const char* text);

/// Writes a PNG file of that name, drawn with cairo on a surface of that pixel format.
std::string write_png(const temporary_folder& folder, const std::string& name, int width, int height,
    const std::function<void(cairo_t*)>& draw, cairo_format_t pixel_format = CAIRO_FORMAT_ARGB32);

/// The same in one colour, 0xAARRGGBB and not multiplied by alpha.
std::string write_png(
    const temporary_folder& folder, const std::string& name, int width, int height, std::uint32_t colour);

inline constexpr yuva transparent{16, 128, 128, 0};
inline constexpr yuva opaque_black{16, 128, 128, 255};
inline constexpr yuva opaque_white{235, 128, 128, 255};
inline constexpr yuva opaque_red{82, 90, 240, 255};
inline constexpr yuva opaque_green{144, 54, 34, 255};
inline constexpr yuva opaque_blue{41, 240, 110, 255};
inline constexpr yuva half_red{49, 109, 184, 128};
