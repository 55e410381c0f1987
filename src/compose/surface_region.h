#pragma once

#include "canvas.h"
#include "picture.h"

#include <cstdint>

/// Results of the drawing operations. A failed one has added no region, has left the reason in `errno` and,
/// except where it says otherwise, has told more on standard error. Reasons are ENOMEM, EINVAL (a null
/// argument, or a file that is no picture), ERANGE (off the display), EOVERFLOW (too large), E2BIG (a text
/// that is too long) and those of a file that cannot be opened or read.
inline constexpr std::int32_t drawing_done = 0;
inline constexpr std::int32_t drawing_failed = -1;

/// Leaves the reason behind. Returns `drawing_failed`.
std::int32_t fail_drawing(int error);

/// What an error of cairo is to `errno`. (It calls whatever a PNG file has wrong a lack of memory: see
/// `load_image`.)
[[nodiscard]] int error_of(cairo_status_t status);

/// One pixel as the planes of a "YUVA" picture hold it.
struct yuva {
    std::uint8_t y = 0; ///< 16 to 235
    std::uint8_t u = 0; ///< blue difference, 16 to 240
    std::uint8_t v = 0; ///< red difference, 16 to 240
    std::uint8_t a = 0; ///< 255 is opaque

    bool operator==(const yuva&) const = default;
};

/// Converts a pixel of an ARGB32 surface (0xAARRGGBB) by the integer form of ITU-R BT.601. The colour
/// bytes are taken as they are: multiplied by alpha.
constexpr yuva yuva_of(std::uint32_t argb)
{
    const auto byte = [argb](std::uint32_t shift) { return static_cast<std::int32_t>(argb >> shift & 0xFF); };
    const std::int32_t r = byte(16);
    const std::int32_t g = byte(8);
    const std::int32_t b = byte(0);
    return {
        .y = static_cast<std::uint8_t>(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16),
        .u = static_cast<std::uint8_t>(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128),
        .v = static_cast<std::uint8_t>(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128),
        .a = static_cast<std::uint8_t>(byte(24)),
    };
}

/// Whether the region's top left corner lies on the display, its right and bottom border included.
/// Otherwise prints "Error: Region out of display\n" on standard error and leaves ERANGE in `errno`.
[[nodiscard]] bool is_on_display(const region_format& format, const subpicture& display_set);

/// Whether the region has no pixel. Such a region is left out of the display set, which is no failure;
/// this says so on standard error.
[[nodiscard]] bool is_left_out(const region_format& format);

/// The last step of every drawing operation: converts an ARGB32 surface of the format's size into a
/// new region, at the format's position and at the end of the display set, which owns it. The surface
/// and its context are released. A region without a pixel is left out. Fails when cairo could not make the
/// surface and when there is no memory for the region.
[[nodiscard]] std::int32_t AddSurfaceRegion(
    owned_surface surface, owned_context context, const region_format& format, subpicture& display_set);
