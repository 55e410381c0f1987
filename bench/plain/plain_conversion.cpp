#include "plain_conversion.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <set>

namespace plain {
namespace {

constexpr std::int32_t palette_limit = 16;
constexpr std::int32_t largest_tolerance = 127;
constexpr std::int32_t farthest_distance = 99'999'999;

/// Y, U, V and A of an error or of a colour with errors.
using components = std::array<std::int32_t, plane_total>;

std::int32_t greatest_common_divisor(std::int32_t a, std::int32_t b)
{
    while (b != 0) {
        const std::int32_t remainder = a % b;
        a = b;
        b = remainder;
    }
    return a;
}

std::int32_t visiting_step(std::int32_t lines, std::int32_t pitch)
{
    std::int32_t step = 3 * lines / 4 * pitch + pitch / 3;
    while (step > 1 && greatest_common_divisor(lines * pitch, step) != 1)
        --step;
    return step > 1 ? step : 1;
}

components colour_at(const picture& source, std::int32_t pixel)
{
    components colour{};
    for (std::size_t k = 0; k < plane_total; ++k)
        colour[k] = source.planes[k].pixels[pixel];
    return colour;
}

bool is_near(const palette_entry& entry, const components& colour, std::int32_t tolerance)
{
    return std::abs(entry[0] - colour[0]) <= tolerance && std::abs(entry[1] - colour[1]) <= tolerance
        && std::abs(entry[2] - colour[2]) <= tolerance && std::abs(entry[3] - colour[3]) <= tolerance / 2;
}

void collect(palette& colours, const components& colour, std::int32_t tolerance)
{
    for (std::int32_t j = 0; j < colours.entry_count; ++j) {
        if (is_near(colours.entries[static_cast<std::size_t>(j)], colour, tolerance))
            return;
    }
    palette_entry& added = colours.entries[static_cast<std::size_t>(colours.entry_count++)];
    for (std::size_t k = 0; k < plane_total; ++k)
        added[k] = static_cast<std::uint8_t>(colour[k]);
}

bool is_complete_with(palette& colours, const picture& source, std::int32_t step, std::int32_t tolerance)
{
    const std::int32_t pixels = source.planes[0].lines * source.planes[0].pitch;
    colours.entry_count = 0;
    std::int32_t pixel = 0;
    while (pixel < pixels) {
        collect(colours, colour_at(source, pixel), tolerance);
        if (colours.entry_count >= palette_limit)
            return false;
        pixel += step;
        if (pixel > pixels)
            pixel -= pixels;
    }
    return true;
}

/// Returns the tolerance that sufficed, or one more than the largest.
std::int32_t find_colours(palette& colours, const picture& source)
{
    const std::int32_t step = visiting_step(source.planes[0].lines, source.planes[0].pitch);
    for (std::int32_t tolerance = 0; tolerance <= largest_tolerance; ++tolerance) {
        if (is_complete_with(colours, source, step, tolerance))
            return tolerance;
    }
    return largest_tolerance + 1;
}

std::size_t nearest(const palette& colours, const components& wanted)
{
    std::size_t best = 0;
    std::int32_t best_distance = farthest_distance;
    for (std::size_t j = 0; j < static_cast<std::size_t>(colours.entry_count); ++j) {
        const palette_entry& entry = colours.entries[j];
        const std::int32_t distance = std::abs(entry[0] - wanted[0]) + std::abs(entry[1] - wanted[1])
            + std::abs(entry[2] - wanted[2]) + 2 * std::abs(entry[3] - wanted[3]);
        if (distance < best_distance) {
            best_distance = distance;
            best = j;
        }
    }
    return best;
}

/// Tells `take` of each pixel, with its entry and the error that it leaves to the next. `errors` holds one
/// entry for each column, all zero.
template <typename taker>
void map_pixels(const picture& source, const palette& colours, components* errors, taker take)
{
    const auto [pixels, lines, pitch] = source.planes[0];
    for (std::int32_t line = 0; line < lines; ++line) {
        components carry{};
        for (std::int32_t column = 0; column < pitch; ++column) {
            const std::int32_t pixel = line * pitch + column;
            components& error = errors[column];
            components wanted = colour_at(source, pixel);
            for (std::size_t k = 0; k < plane_total; ++k)
                wanted[k] += error[k] + carry[k];
            const std::size_t j = nearest(colours, wanted);
            for (std::size_t k = 0; k < plane_total; ++k) {
                const std::int32_t missed = wanted[k] - colours.entries[j][k];
                error[k] = 3 * missed / 8;
                carry[k] = 5 * missed / 8;
            }
            take(pixel, static_cast<std::uint8_t>(j), carry);
        }
    }
}

void pad_with_transparent(palette& colours)
{
    while (colours.entry_count < palette_limit)
        colours.entries[static_cast<std::size_t>(colours.entry_count++)] = {};
}

bool convert(subpicture_region& region, std::uint8_t clut_id)
{
    region.chroma = chroma_yuvp;
    std::free(region.palette);
    region.palette = static_cast<palette*>(std::calloc(1, sizeof(palette)));
    if (region.palette == nullptr)
        return false;
    region.palette->clut_id = clut_id;
    find_colours(*region.palette, *region.picture);
    const auto columns = static_cast<std::size_t>(region.picture->planes[0].pitch);
    auto* const errors = static_cast<components*>(std::calloc(columns + 1, sizeof(components)));
    if (errors == nullptr)
        return false;
    map_pixels(*region.picture, *region.palette, errors,
        [&](std::int32_t pixel, std::uint8_t index, const components& /*carry*/) {
            region.picture->planes[0].pixels[pixel] = index;
        });
    std::free(errors);
    pad_with_transparent(*region.palette);
    return true;
}

std::size_t count_colours(const picture& source)
{
    std::set<components> colours;
    for (std::int32_t pixel = 0; pixel < source.planes[0].lines * source.planes[0].pitch; ++pixel)
        colours.insert(colour_at(source, pixel));
    return colours.size();
}

} // namespace

subpicture* YuvaYuvp(subpicture* page)
{
    if (page == nullptr)
        return nullptr;
    std::uint8_t clut_id = 1;
    for (subpicture_region* region = page->regions; region != nullptr; region = region->next) {
        if (!convert(*region, clut_id++))
            return nullptr;
    }
    return page;
}

colour_reduction reduce_colours(const subpicture_region& region)
{
    const picture& source = *region.picture;
    palette colours;
    colour_reduction result{.colours_before = count_colours(source)};
    const std::int32_t tolerance = find_colours(colours, source);
    result.tolerance = std::min(tolerance, largest_tolerance);
    result.tolerance_sufficed = tolerance <= largest_tolerance;
    result.palette.assign(colours.entries.begin(), colours.entries.begin() + colours.entry_count);

    std::vector<components> errors(region.width);
    map_pixels(source, colours, errors.data(),
        [&](std::int32_t /*pixel*/, std::uint8_t index, const components& carry) {
            result.indices.push_back(index);
            for (const std::int32_t part : carry)
                result.largest_error = std::max(result.largest_error, std::abs(part));
        });
    return result;
}

} // namespace plain
