#include "colour_reduction.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <set>

namespace {

constexpr std::size_t palette_limit = 16;
constexpr std::int32_t largest_tolerance = 127;
constexpr std::array<std::int64_t, plane_total> weights{1, 1, 1, 2};

using error = std::array<std::int64_t, plane_total>;

/// Positions of all pixels, far from each other in turn, so that a palette that fills up too early has
/// met colours from all over the image.
std::vector<std::size_t> visiting_order(const yuva_image& image)
{
    const std::size_t count = image.pixels.size();
    std::size_t step = 3 * std::size_t{image.height} / 4 * image.width + image.width / 3;
    while (step > 1 && std::gcd(count, step) != 1)
        --step;
    std::vector<std::size_t> order(count);
    for (std::size_t i = 0; i < count; ++i)
        order[i] = i * std::max<std::size_t>(step, 1) % count;
    return order;
}

bool stands_for(const palette_entry& entry, const palette_entry& colour, std::int32_t tolerance)
{
    for (std::size_t k = 0; k < plane_total; ++k)
        if (std::abs(entry[k] - colour[k]) > (k == 3 ? tolerance / 2 : tolerance))
            return false;
    return true;
}

/// Returns whether fewer colours than the limit stand for all.
bool find_palette(colour_reduction& result, const yuva_image& image, const std::vector<std::size_t>& order)
{
    result.palette.clear();
    for (const std::size_t position : order) {
        const palette_entry& colour = image.pixels[position];
        const bool known = std::ranges::any_of(result.palette,
            [&](const palette_entry& entry) { return stands_for(entry, colour, result.tolerance); });
        if (!known)
            result.palette.push_back(colour);
        if (result.palette.size() == palette_limit)
            return false;
    }
    return true;
}

std::int64_t distance(const palette_entry& entry, const error& wanted)
{
    std::int64_t sum = 0;
    for (std::size_t k = 0; k < plane_total; ++k)
        sum += weights[k] * std::abs(entry[k] - wanted[k]);
    return sum;
}

/// The first of the nearest; the encoder takes the first of all when every one is very far.
std::size_t nearest(const std::vector<palette_entry>& palette, const error& wanted)
{
    std::size_t best = 0;
    std::int64_t best_distance = 99'999'999;
    for (std::size_t j = 0; j < palette.size(); ++j)
        if (const std::int64_t found = distance(palette[j], wanted); found < best_distance) {
            best_distance = found;
            best = j;
        }
    return best;
}

/// Five eighths of an error go to the next pixel, three to the one below.
void map_pixel(colour_reduction& result, const palette_entry& colour, error& above, error& carry)
{
    error wanted{};
    for (std::size_t k = 0; k < plane_total; ++k)
        wanted[k] = colour[k] + above[k] + carry[k];
    const std::size_t index = nearest(result.palette, wanted);
    result.indices.push_back(static_cast<std::uint8_t>(index));
    for (std::size_t k = 0; k < plane_total; ++k) {
        const std::int64_t missed = wanted[k] - result.palette[index][k];
        above[k] = 3 * missed / 8;
        carry[k] = 5 * missed / 8;
        result.largest_error = std::max(result.largest_error, std::abs(carry[k]));
    }
}

} // namespace

yuva_image pixels_of(const subpicture_region& region)
{
    yuva_image image{.width = region.width, .height = region.height};
    image.pixels.resize(std::size_t{region.width} * region.height);
    for (std::size_t k = 0; k < plane_total; ++k)
        for (std::size_t i = 0; i < image.pixels.size(); ++i)
            image.pixels[i][k] = region.picture->planes[k].pixels[i];
    return image;
}

colour_reduction reduce_colours(const yuva_image& image)
{
    colour_reduction result{
        .colours_before = std::set<palette_entry>(image.pixels.begin(), image.pixels.end()).size()};
    const auto order = visiting_order(image);
    while (!find_palette(result, image, order) && result.tolerance < largest_tolerance)
        ++result.tolerance;
    result.tolerance_sufficed = result.palette.size() < palette_limit;

    std::vector<error> row(image.width);
    for (std::uint32_t line = 0; line < image.height; ++line) {
        error carry{};
        for (std::uint32_t column = 0; column < image.width; ++column)
            map_pixel(result, image.pixels[std::size_t{line} * image.width + column], row[column], carry);
    }
    return result;
}
