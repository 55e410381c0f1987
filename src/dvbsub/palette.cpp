#include "palette.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <numeric>

namespace {

constexpr std::int32_t palette_limit = 16;
constexpr std::int32_t largest_tolerance = 127;
constexpr std::int64_t farthest_distance = 99'999'999;
constexpr std::array<std::int32_t, plane_total> tolerance_divisors{1, 1, 1, 2};
constexpr std::array<std::int64_t, plane_total> distance_weights{1, 1, 1, 2};

/// Components of a pixel with the errors diffused into it, beyond 0 to 255 too.
using adjusted_colour = std::array<std::int64_t, plane_total>;

/// Shares of the errors made so far, for one pixel.
using diffused_error = std::array<std::int32_t, plane_total>;

struct memory_releaser {
    void operator()(void* memory) const
    {
        std::free(memory);
    }
};
using error_row = std::unique_ptr<diffused_error[], memory_releaser>;

/// The pixels of a region in a scattered order: 0, step, 2 * step, … modulo `pixels`, each once.
struct visiting_order {
    std::int64_t pixels = 0;
    std::int64_t step = 1;
};

visiting_order scattered(const plane& samples)
{
    const std::int64_t lines = samples.lines;
    const std::int64_t pitch = samples.pitch;
    const std::int64_t pixels = lines * pitch;
    if (pixels == 0)
        return {};
    // One line of one or two pixels leaves no step: those are visited in their order.
    std::int64_t step = std::max<std::int64_t>(3 * lines / 4 * pitch + pitch / 3, 1);
    while (step > 1 && std::gcd(pixels, step) != 1)
        --step;
    return {.pixels = pixels, .step = step};
}

palette_entry colour_at(const picture& source, std::int64_t pixel)
{
    palette_entry colour{};
    for (std::size_t k = 0; k < plane_total; ++k)
        colour[k] = source.planes[k].pixels[pixel];
    return colour;
}

bool within(const palette_entry& entry, const palette_entry& colour, std::int32_t tolerance)
{
    for (std::size_t k = 0; k < plane_total; ++k) {
        if (std::abs(entry[k] - colour[k]) > tolerance / tolerance_divisors[k])
            return false;
    }
    return true;
}

bool has_entry_within(const palette& colours, const palette_entry& colour, std::int32_t tolerance)
{
    const auto* const first = colours.entries.data();
    return std::any_of(first, first + colours.entry_count,
        [&](const palette_entry& entry) { return within(entry, colour, tolerance); });
}

/// Collects the colours that are farther than the tolerance from all before them. False when they
/// are too many, at the palette's limit.
bool collect_colours(
    palette& colours, const picture& source, const visiting_order& order, std::int32_t tolerance)
{
    colours.entry_count = 0;
    std::int64_t pixel = 0;
    while (pixel < order.pixels) {
        const palette_entry colour = colour_at(source, pixel);
        if (!has_entry_within(colours, colour, tolerance))
            colours.entries[static_cast<std::size_t>(colours.entry_count++)] = colour;
        if (colours.entry_count >= palette_limit)
            return false;
        // The last of a coprime order comes to `pixels` itself, which ends the visit.
        pixel += order.step;
        if (pixel > order.pixels)
            pixel -= order.pixels;
    }
    return true;
}

/// Takes the smallest tolerance that does; if none does, what the largest collected.
void find_colours(palette& colours, const picture& source)
{
    const visiting_order order = scattered(source.planes[0]);
    std::int32_t tolerance = 0;
    while (!collect_colours(colours, source, order, tolerance) && tolerance < largest_tolerance)
        ++tolerance;
}

std::int64_t distance(const palette_entry& entry, const adjusted_colour& colour)
{
    std::int64_t sum = 0;
    for (std::size_t k = 0; k < plane_total; ++k)
        sum += distance_weights[k] * std::abs(entry[k] - colour[k]);
    return sum;
}

/// Index of the nearest entry, the lowest on a tie; 0 when all are beyond `farthest_distance`.
std::uint8_t nearest(const palette& colours, const adjusted_colour& colour)
{
    std::int32_t found = 0;
    std::int64_t best = farthest_distance;
    for (std::int32_t j = 0; j < colours.entry_count; ++j) {
        const std::int64_t found_distance = distance(colours.entries[static_cast<std::size_t>(j)], colour);
        if (found_distance < best) {
            best = found_distance;
            found = j;
        }
    }
    return static_cast<std::uint8_t>(found);
}

/// Maps one pixel and leaves the shares of its error: 3/8 in `below`, which held the share of the
/// pixel above, and 5/8 in `carry`. What a pixel is handed weighs a whole error, and its own comes on
/// top, so errors can grow over a large region: the sums have room beyond 32 bits.
void map_pixel(const picture& target, std::int64_t pixel, const palette& colours, diffused_error& below,
    diffused_error& carry)
{
    const palette_entry source = colour_at(target, pixel);
    adjusted_colour wanted{};
    for (std::size_t k = 0; k < plane_total; ++k)
        wanted[k] = std::int64_t{source[k]} + below[k] + carry[k];
    const std::uint8_t index = nearest(colours, wanted);
    target.planes[0].pixels[pixel] = index;
    for (std::size_t k = 0; k < plane_total; ++k) {
        const std::int64_t error = wanted[k] - colours.entries[index][k];
        below[k] = static_cast<std::int32_t>(3 * error / 8);
        carry[k] = static_cast<std::int32_t>(5 * error / 8);
    }
}

/// `row` holds one entry for each column, all zero.
void map_pixels(const picture& target, const palette& colours, const error_row& row)
{
    const auto [pixels, lines, pitch] = target.planes[0];
    for (std::int64_t line = 0; line < lines; ++line) {
        diffused_error carry{};
        for (std::int64_t column = 0; column < pitch; ++column)
            map_pixel(target, line * pitch + column, colours, row[static_cast<std::size_t>(column)], carry);
    }
}

void pad_with_transparent(palette& colours)
{
    auto* const first = colours.entries.data();
    std::fill(first + colours.entry_count, first + palette_limit, palette_entry{});
    colours.entry_count = palette_limit;
}

bool convert(subpicture_region& region, std::uint8_t clut_id)
{
    auto* const colours = static_cast<palette*>(std::calloc(1, sizeof(palette)));
    if (colours == nullptr)
        return false;
    colours->clut_id = clut_id;
    std::free(region.palette);
    region.palette = colours;
    region.chroma = chroma_yuvp;

    const picture& pixels = *region.picture;
    find_colours(*colours, pixels);
    const auto row_entries = static_cast<std::size_t>(pixels.planes[0].pitch) + 1;
    const error_row row(static_cast<diffused_error*>(std::calloc(row_entries, sizeof(diffused_error))));
    if (row == nullptr)
        return false;
    map_pixels(pixels, *colours, row);
    pad_with_transparent(*colours);
    return true;
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
