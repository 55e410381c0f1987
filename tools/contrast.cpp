#include "contrast.h"

#include "article_screen.h"
#include "surface_region.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace {

double linear(std::uint8_t component)
{
    const double value = component / 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(const rgba_pixel& colour)
{
    return 0.2126 * linear(colour[0]) + 0.7152 * linear(colour[1]) + 0.0722 * linear(colour[2]);
}

/// The colour over an opaque grey.
rgba_pixel over(const rgba_pixel& colour, std::uint8_t grey)
{
    rgba_pixel seen{0, 0, 0, 255};
    for (std::size_t part = 0; part < 3; ++part)
        seen[part] =
            static_cast<std::uint8_t>((colour[part] * colour[3] + grey * (255 - colour[3]) + 127) / 255);
    return seen;
}

/// A colour word (0xAARRGGBB) over one that is multiplied by its opacity, which the result is too.
std::uint32_t premultiplied_over(std::uint32_t colour, std::uint32_t beneath)
{
    const std::uint32_t opacity = colour >> 24;
    std::uint32_t result = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const std::uint32_t part = shift == 24 ? 255 : colour >> shift & 0xFF;
        const std::uint32_t under = beneath >> shift & 0xFF;
        result |= (part * opacity + under * (255 - opacity) + 127) / 255 << shift;
    }
    return result;
}

/// As it comes to the screen when the palette has it.
rgba_pixel as_shown(std::uint32_t premultiplied)
{
    const yuva pixel = yuva_of(premultiplied);
    return screen_colour(as_sent({pixel.y, pixel.u, pixel.v, pixel.a}));
}

int distance(const rgba_pixel& one, const rgba_pixel& other)
{
    int sum = 0;
    for (std::size_t part = 0; part < one.size(); ++part)
        sum += (one[part] - other[part]) * (one[part] - other[part]);
    return sum;
}

rgba_pixel nearest_used(const decoded_region& region, const rgba_pixel& wanted)
{
    std::vector<bool> used(region.colours.size());
    for (const std::uint8_t index : region.indices)
        used[index] = true;
    rgba_pixel best{};
    int least = std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < used.size(); ++i) {
        const rgba_pixel colour = screen_colour(region.colours[i]);
        if (used[i] && distance(colour, wanted) < least) {
            least = distance(colour, wanted);
            best = colour;
        }
    }
    return best;
}

} // namespace

double contrast_ratio(const rgba_pixel& one, const rgba_pixel& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

text_contrast contrast_of(const decoded_region& region, const layout_region& layout)
{
    const std::uint32_t ground_word = premultiplied_over(layout.backgroundColor, 0);
    const rgba_pixel ground = nearest_used(region, as_shown(ground_word));
    const rgba_pixel ink =
        nearest_used(region, as_shown(premultiplied_over(layout.foregroundColor, ground_word)));
    const auto is_lighter = [&](std::uint8_t grey) {
        return luminance(over(ink, grey)) > luminance(over(ground, grey));
    };
    const double on_black = contrast_ratio(over(ink, 0), over(ground, 0));
    const double on_white = contrast_ratio(over(ink, 255), over(ground, 255));
    // Lighter than its ground on black and darker on white, it is alike on a grey between them.
    const bool is_alike_between = is_lighter(0) != is_lighter(255);
    return {.lowest = is_alike_between ? 1 : std::min(on_black, on_white),
        .highest = std::max(on_black, on_white)};
}

double wanted_contrast(double size_pixels)
{
    return size_pixels >= 24 ? 3 : 4.5;
}

double least_contrast(double size_pixels)
{
    return wanted_contrast(size_pixels) * 2 / 3;
}
