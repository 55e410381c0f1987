#include "drawings.h"

#include "capture.h"

#include <algorithm>
#include <vector>

outcome outcome_of(const std::function<std::int32_t(subpicture*)>& draw)
{
    outcome drawn;
    const auto messages = stderr_of([&] { drawn.report = std::to_string(draw(drawn.display_set.get())); });
    for (const auto* region = drawn.display_set->regions; region != nullptr; region = region->next)
        drawn.report += " " + std::to_string(region->width) + "x" + std::to_string(region->height) + "+"
            + std::to_string(region->x) + "+" + std::to_string(region->y);
    drawn.report += messages.empty() ? "" : ": " + messages;
    return drawn;
}

char letter_at(const outcome& drawn, std::uint32_t x, std::uint32_t y)
{
    const auto& region = *drawn.display_set->regions;
    const auto& planes = region.picture->planes;
    const std::size_t at = std::size_t{y} * region.width + x;
    const yuva pixel{planes[0].pixels[at], planes[1].pixels[at], planes[2].pixels[at], planes[3].pixels[at]};
    const auto* found = std::ranges::find(letter_colours, pixel, &letter_colour::pixel);
    return found == std::end(letter_colours) ? '?' : found->letter;
}

std::string letters_of(const outcome& drawn, std::uint32_t x, std::uint32_t parts)
{
    std::string letters;
    for (std::uint32_t part = 0; part < parts; ++part)
        letters += letter_at(drawn, x, (2 * part + 1) * drawn.display_set->regions->height / (2 * parts));
    return letters;
}

std::array<std::uint32_t, 4> ink_of(
    const outcome& drawn, char background, std::uint32_t top, std::uint32_t bottom)
{
    const auto& region = *drawn.display_set->regions;
    std::array<std::uint32_t, 4> ink{region.width, region.height, 0, 0};
    for (std::uint32_t y = top; y < std::min(bottom, region.height); ++y)
        for (std::uint32_t x = 0; x < region.width; ++x)
            if (letter_at(drawn, x, y) != background)
                ink = {std::min(ink[0], x), std::min(ink[1], y), std::max(ink[2], x + 1), y + 1};
    return ink;
}

std::string write_png(
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
