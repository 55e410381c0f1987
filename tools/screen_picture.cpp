#include "screen_picture.h"

#include <algorithm>
#include <cmath>

namespace {

double limited(double component)
{
    return std::round(std::clamp(component, 0.0, 255.0));
}

void put_region(screen_picture& screen, const decoded_region& region)
{
    for (std::uint32_t line = 0; line < region.height && region.y + line < screen.height; ++line)
        for (std::uint32_t column = 0; column < region.width && region.x + column < screen.width; ++column) {
            const std::uint8_t index = region.indices[std::size_t{line} * region.width + column];
            screen.pixels[std::size_t{region.y + line} * screen.width + region.x + column] =
                screen_colour(region.colours[index]);
        }
}

} // namespace

rgba_pixel screen_colour(const clut_colour& colour)
{
    if (colour.y == 0)
        return {};
    const double luma = 255.0 / 219.0 * (colour.y - 16);
    const double red_difference = 255.0 / 224.0 * (colour.cr - 128);
    const double blue_difference = 255.0 / 224.0 * (colour.cb - 128);
    const double red = luma + 1.402 * red_difference;
    const double green = luma - 0.344136 * blue_difference - 0.714136 * red_difference;
    const double blue = luma + 1.772 * blue_difference;
    return {static_cast<std::uint8_t>(limited(red)), static_cast<std::uint8_t>(limited(green)),
        static_cast<std::uint8_t>(limited(blue)), static_cast<std::uint8_t>(255 - colour.t)};
}

screen_picture compose_screen(const decoded_page& page)
{
    screen_picture screen;
    screen.pixels.resize(std::size_t{screen.width} * screen.height);
    for (const decoded_region& region : page.regions)
        put_region(screen, region);
    return screen;
}
