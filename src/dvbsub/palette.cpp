#include "palette.h"

#include "error_diffusion.h"
#include "reuse.h"
#include "runs.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace {

constexpr std::int32_t palette_limit = 16;
constexpr std::int32_t largest_tolerance = 127;
constexpr std::array<std::int32_t, plane_total> tolerance_divisors{1, 1, 1, 2};

/// The pixels of a region in a scattered order: 0, step, 2 * step, … modulo `pixels`, each once.
struct visiting_order {
    std::ptrdiff_t pixels = 0;
    std::ptrdiff_t step = 1;
};

visiting_order scattered(const plane& samples)
{
    const std::ptrdiff_t lines = samples.lines;
    const std::ptrdiff_t pitch = samples.pitch;
    const std::ptrdiff_t pixels = lines * pitch;
    if (pixels == 0)
        return {};
    // One line of one or two pixels leaves no step: those are visited in their order.
    std::ptrdiff_t step = std::max<std::ptrdiff_t>(3 * lines / 4 * pitch + pitch / 3, 1);
    while (step > 1 && std::gcd(pixels, step) != 1)
        --step;
    return {.pixels = pixels, .step = step};
}

/// The number of different colours, or the palette's limit when there are as many or more.
std::int32_t count_colours(const picture& source, std::ptrdiff_t pixels)
{
    std::array<packed_colour, palette_limit> found{};
    auto* end = found.begin();
    for (std::ptrdiff_t pixel = 0; pixel < pixels && end != found.end();
         pixel += colour_run(source, pixel, pixels)) {
        const packed_colour colour = colour_at(source, pixel);
        if (std::find(found.begin(), end, colour) == end)
            *end++ = colour;
    }
    return static_cast<std::int32_t>(end - found.begin());
}

/// For each value of each component the entries within the tolerance of it, one bit each. A colour is
/// near the entries that are in all of its four sets.
struct near_entries {
    std::array<std::array<std::uint16_t, 256>, plane_total> sets{};
};

void add_entry(palette& colours, near_entries& near, const palette_entry& colour, std::int32_t tolerance)
{
    const auto bit = static_cast<std::uint16_t>(1U << colours.entry_count);
    for (std::size_t k = 0; k < plane_total; ++k) {
        const std::int32_t reach = tolerance / tolerance_divisors[k];
        const std::int32_t last = std::min(colour[k] + reach, 255);
        for (std::int32_t value = std::max(colour[k] - reach, 0); value <= last; ++value)
            near.sets[k][static_cast<std::size_t>(value)] |= bit;
    }
    colours.entries[static_cast<std::size_t>(colours.entry_count++)] = colour;
}

/// The first pixel, from `pixel` on, that is near no entry. 0, where the order comes back to, when there
/// is none. Kept apart, since it needs every register there is.
[[gnu::noinline]] std::ptrdiff_t skip_near(
    const near_entries& near, const picture& source, const visiting_order& order, std::ptrdiff_t pixel)
{
    const std::uint8_t* const y = source.planes[0].pixels;
    const std::uint8_t* const u = source.planes[1].pixels;
    const std::uint8_t* const v = source.planes[2].pixels;
    const std::uint8_t* const a = source.planes[3].pixels;
    const auto& sets = near.sets;
    const std::ptrdiff_t pixels = order.pixels;
    const std::ptrdiff_t step = order.step - pixels;
    while ((sets[0][y[pixel]] & sets[1][u[pixel]] & sets[2][v[pixel]] & sets[3][a[pixel]]) != 0) {
        pixel += step;
        if (pixel < 0)
            pixel += pixels;
        if (pixel == 0)
            break;
    }
    return pixel;
}

/// Collects the colours that are farther than the tolerance from all before them, until there are
/// `limit`.
void collect_colours(palette& colours, const picture& source, const visiting_order& order,
    std::int32_t tolerance, std::int32_t limit)
{
    near_entries near;
    colours.entry_count = 0;
    std::ptrdiff_t pixel = 0;
    do {
        add_entry(colours, near, std::bit_cast<palette_entry>(colour_at(source, pixel)), tolerance);
        pixel = colours.entry_count == limit ? 0 : skip_near(near, source, order, pixel);
    } while (pixel != 0);
}

/// The smallest tolerance that one of the colours is within of the other.
std::int32_t separation(const palette_entry& one, const palette_entry& other)
{
    std::int32_t largest = 0;
    for (std::size_t k = 0; k < plane_total; ++k)
        largest = std::max(largest, std::abs(one[k] - other[k]) * tolerance_divisors[k]);
    return largest;
}

/// The smallest tolerance that collects anything else than these sixteen: below it each of them stays
/// farther from all before it, and whatever was near to one of them stays near.
std::int32_t next_tolerance(const palette& colours)
{
    std::int32_t smallest = separation(colours.entries[0], colours.entries[1]);
    for (std::size_t j = 2; j < palette_limit; ++j) {
        for (std::size_t i = 0; i < j; ++i)
            smallest = std::min(smallest, separation(colours.entries[i], colours.entries[j]));
    }
    return smallest;
}

constexpr std::int32_t padded_entries = 16;

void pad_with_transparent(palette& colours)
{
    auto* const first = colours.entries.data();
    std::fill(first + colours.entry_count, first + padded_entries, palette_entry{});
    colours.entry_count = padded_entries;
}

/// Collects into `colours`, whose `clut_id` stays, at most 16 colours that stand for those of the
/// picture: the pixels are visited in a scattered order, and a colour farther than a tolerance from all
/// before it is added. The tolerance is the smallest that needs less than 16 colours; when even 127
/// needs more, its first 16 are taken. Returns whether these are all the colours that there are.
bool find_colours(palette& colours, const picture& source)
{
    const visiting_order order = scattered(source.planes[0]);
    const std::int32_t count = count_colours(source, order.pixels);
    std::int32_t tolerance = 0;
    while (order.pixels != 0 && tolerance <= largest_tolerance) {
        collect_colours(colours, source, order, tolerance, count);
        if (colours.entry_count != palette_limit)
            break;
        tolerance = next_tolerance(colours);
    }
    return count < palette_limit;
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

    if (region.coded != nullptr) {
        colours->entry_count = padded_entries;
        std::ranges::copy(region.coded->colours, colours->entries.begin());
        return true;
    }
    const bool exact = find_colours(*colours, *region.picture);
    if (!map_pixels(*region.picture, *colours, exact))
        return false;
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
