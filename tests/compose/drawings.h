#pragma once

#include "canvas.h"
#include "capture.h"
#include "picture.h"
#include "surface_region.h"
#include "temporary.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The colours of these tests, multiplied by alpha, and what a region makes of them. Transparency is
/// a full stop, 'r' half transparent red.
struct letter_colour {
    char letter = '?';
    std::uint32_t argb = 0;
    yuva pixel;
};
inline constexpr letter_colour letter_colours[] = {{'.', 0x00000000, {16, 128, 128, 0}},
    {'K', 0xFF000000, {16, 128, 128, 255}}, {'W', 0xFFFFFFFF, {235, 128, 128, 255}},
    {'R', 0xFFFF0000, {82, 90, 240, 255}}, {'G', 0xFF00FF00, {144, 54, 34, 255}},
    {'B', 0xFF0000FF, {41, 240, 110, 255}}, {'Y', 0xFFFFFF00, {210, 16, 146, 255}},
    {'C', 0xFF00FFFF, {169, 166, 16, 255}}, {'M', 0xFFFF00FF, {107, 202, 222, 255}},
    {'r', 0x80800000, {49, 109, 184, 128}}};

/// What a drawing operation has left behind in an empty display set of 720 x 576.
struct outcome {
    std::unique_ptr<subpicture, releaser<subpicture_Delete>> display_set{subpicture_New(1, 720, 576)};
    std::string report; ///< result, regions and messages: "0 60x40+7+9", "-1: Error: Region out of display\n"
};

inline outcome outcome_of(const std::function<std::int32_t(subpicture*)>& draw)
{
    outcome drawn;
    const auto messages = stderr_of([&] {
        errno = 0;
        const std::int32_t result = draw(drawn.display_set.get());
        drawn.report = std::to_string(result) + (result < 0 ? std::string(" ") + std::strerror(errno) : "");
    });
    for (const auto* region = drawn.display_set->regions; region != nullptr; region = region->next)
        drawn.report += " " + std::to_string(region->width) + "x" + std::to_string(region->height) + "+"
            + std::to_string(region->x) + "+" + std::to_string(region->y);
    drawn.report += messages.empty() ? "" : ": " + messages;
    return drawn;
}

/// A "YUVA" format at (40, 30) unless told otherwise.
inline region_format yuva_format(
    std::uint32_t width, std::uint32_t height, std::uint32_t x = 40, std::uint32_t y = 30)
{
    return {chroma_yuva, width, height, x, y, 32};
}

/// The letter of a pixel of the first region; '?' for any other colour.
inline char letter_at(const outcome& drawn, std::uint32_t x, std::uint32_t y)
{
    const auto& region = *drawn.display_set->regions;
    const auto& planes = region.picture->planes;
    const std::size_t at = std::size_t{y} * region.width + x;
    const yuva pixel{planes[0].pixels[at], planes[1].pixels[at], planes[2].pixels[at], planes[3].pixels[at]};
    const auto* found = std::ranges::find(letter_colours, pixel, &letter_colour::pixel);
    return found == std::end(letter_colours) ? '?' : found->letter;
}

/// The letters in the middle of so many equal parts of its column `x`, from the top down.
inline std::string letters_of(const outcome& drawn, std::uint32_t x, std::uint32_t parts)
{
    std::string letters;
    for (std::uint32_t part = 0; part < parts; ++part)
        letters += letter_at(drawn, x, (2 * part + 1) * drawn.display_set->regions->height / (2 * parts));
    return letters;
}

/// The edges of all that has another letter than `background` in the first region, or in its lines from
/// `top` to `bottom`: left, top, right and bottom. Without such pixels right and bottom are 0.
inline std::array<std::uint32_t, 4> ink_of(
    const outcome& drawn, char background, std::uint32_t top = 0, std::uint32_t bottom = 0xFFFF)
{
    const auto& region = *drawn.display_set->regions;
    std::array<std::uint32_t, 4> ink{region.width, region.height, 0, 0};
    for (std::uint32_t y = top; y < std::min(bottom, region.height); ++y)
        for (std::uint32_t x = 0; x < region.width; ++x)
            if (letter_at(drawn, x, y) != background)
                ink = {std::min(ink[0], x), std::min(ink[1], y), std::max(ink[2], x + 1), y + 1};
    return ink;
}

/// Writes a PNG file of that name with the colours of four letters in its quarters. Returns its path.
inline std::string write_png(
    const temporary_folder& folder, const std::string& name, int width, int height, const char* quarters)
{
    std::vector<std::uint32_t> pixels;
    for (int at = 0; at < width * height; ++at) {
        const char letter = quarters[at / width * 2 / height * 2 + at % width * 2 / width];
        pixels.push_back(std::ranges::find(letter_colours, letter, &letter_colour::letter)->argb);
    }
    auto* const bytes = reinterpret_cast<unsigned char*>(pixels.data());
    const owned_surface surface(
        cairo_image_surface_create_for_data(bytes, CAIRO_FORMAT_ARGB32, width, height, 4 * width));
    auto path = (folder.path / name).string();
    return cairo_surface_write_to_png(surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS ? path : "";
}
