#include "error_diffusion.h"

#include "runs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <malloc.h>
#include <memory>

namespace {

// The nearest entry is found for all sixteen at once, in lanes of 16 bits:
//
//     lane j = 16 * distance to entry j + j
//
// The least lane is the nearest entry's, on a tie that of the lowest index, and its low 4 bits are the
// index. The distance is a sum over the components, and so are the lanes: one table for each component
// and value, the indices in that of Y alone.
//
// The vectors are the compilers' own: they take the machine's where it has some, and single operations
// where it has none. No function returns one: without vector registers there is no way to.

constexpr std::size_t entry_limit = 16;
constexpr std::int32_t lane_unit = 16; ///< of distance in a lane
constexpr std::array<std::int32_t, plane_total> distance_weights{1, 1, 1, 2};
static_assert((1 + 1 + 1 + 2) * 255 * lane_unit + lane_unit <= 0x7FFF, "a lane holds every sum");

/// Y, U, V and A, of a colour with errors or of an error. 32 bits hold what a region of any size that can be
/// allocated adds up.
using components = std::int32_t __attribute__((vector_size(16)));
using lanes = std::int16_t __attribute__((vector_size(16)));
using words = std::uint64_t __attribute__((vector_size(16))); ///< lanes to be added, four at once

struct distance_lanes {
    words low;  ///< lanes 0 to 7
    words high; ///< lanes 8 to 15
};

struct distance_table {
    /// Set from `lowest` to `highest`: most of these 33 KB are never looked at.
    std::array<std::array<distance_lanes, 256>, plane_total> by_value;
    std::array<components, entry_limit> entries;
    components lowest; ///< that an entry has
    components highest;
};

struct memory_releaser {
    void operator()(void* memory) const
    {
        std::free(memory);
    }
};
using error_row = std::unique_ptr<components[], memory_releaser>;

/// Cleared errors for a line of so many pixels; null when there is no memory.
error_row new_error_row(std::int32_t pixels)
{
    constexpr std::size_t longest = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(components);
    const std::size_t count = static_cast<std::size_t>(pixels) + 1;
    if (count > longest)
        return nullptr;
    auto* const errors = static_cast<components*>(memalign(alignof(components), count * sizeof(components)));
    if (errors != nullptr)
        std::fill_n(errors, count, components{});
    return error_row(errors);
}

/// Sets component `k` of the table. In place of entries that the palette has not stands its first one, which
/// wins every tie with them.
void prepare_component(distance_table& table, const palette& colours, std::size_t k)
{
    std::array<std::int32_t, entry_limit> values{};
    for (std::size_t j = 0; j < entry_limit; ++j) {
        const bool used = j < static_cast<std::size_t>(colours.entry_count);
        values[j] = colours.entries[used ? j : 0][k];
        table.entries[j][k] = values[j];
    }
    const auto [lowest, highest] = std::ranges::minmax(values);
    table.lowest[k] = lowest;
    table.highest[k] = highest;
    for (std::int32_t value = lowest; value <= highest; ++value) {
        std::array<std::int16_t, entry_limit> sums{};
        for (std::size_t j = 0; j < entry_limit; ++j) {
            const std::int32_t distance = std::abs(values[j] - value) * distance_weights[k];
            const std::int32_t index = k == 0 ? static_cast<std::int32_t>(j) : 0;
            sums[j] = static_cast<std::int16_t>(distance * lane_unit + index);
        }
        table.by_value[k][static_cast<std::size_t>(value)] = std::bit_cast<distance_lanes>(sums);
    }
}

void keep_lesser(lanes& kept, const lanes& other)
{
    kept = kept < other ? kept : other;
}

/// Index of the entry nearest to the colour. Beyond all entries each of them gets farther by the same,
/// which changes nothing between them, so the search is for the closest colour among them.
std::size_t nearest(const distance_table& table, const components& wanted)
{
    components within = wanted < table.lowest ? table.lowest : wanted;
    within = within > table.highest ? table.highest : within;
    const distance_lanes& y = table.by_value[0][static_cast<std::uint32_t>(within[0])];
    const distance_lanes& u = table.by_value[1][static_cast<std::uint32_t>(within[1])];
    const distance_lanes& v = table.by_value[2][static_cast<std::uint32_t>(within[2])];
    const distance_lanes& a = table.by_value[3][static_cast<std::uint32_t>(within[3])];
    auto least = reinterpret_cast<lanes>(y.low + u.low + v.low + a.low);
    keep_lesser(least, reinterpret_cast<lanes>(y.high + u.high + v.high + a.high));
    keep_lesser(least, __builtin_shufflevector(least, least, 4, 5, 6, 7, 0, 1, 2, 3));
    keep_lesser(least, __builtin_shufflevector(least, least, 2, 3, 0, 1, 6, 7, 4, 5));
    return static_cast<std::uint32_t>(std::min(least[0], least[1])) % lane_unit;
}

bool is_zero(const components& value)
{
    const auto halves = reinterpret_cast<words>(value);
    return (halves[0] | halves[1]) == 0;
}

/// How many pixels have the same colour, from `pixel` on, itself included, and take no error from above but
/// it. Apart from the loop below, which needs every register there is.
[[gnu::noinline]] std::ptrdiff_t run_without_errors(
    const picture& source, std::ptrdiff_t pixel, std::ptrdiff_t end, const components* errors)
{
    const std::ptrdiff_t run = colour_run(source, pixel, end);
    std::ptrdiff_t count = 1;
    while (count < run && is_zero(errors[count]))
        ++count;
    return count;
}

/// Maps the line whose first pixel is number `begin`. `errors` holds the error from above for each column,
/// and then that for the line below.
void map_line(const distance_table& table, const picture& target, std::ptrdiff_t begin, components* errors)
{
    const auto& planes = target.planes;
    std::uint8_t* const y = planes[0].pixels + begin;
    const std::uint8_t* const u = planes[1].pixels + begin;
    const std::uint8_t* const v = planes[2].pixels + begin;
    const std::uint8_t* const a = planes[3].pixels + begin;
    const std::ptrdiff_t end = planes[0].pitch;
    components carry{};
    for (std::ptrdiff_t column = 0; column < end;) {
        const components taken = errors[column] + carry;
        const components wanted = components{y[column], u[column], v[column], a[column]} + taken;
        const auto index = static_cast<std::uint8_t>(nearest(table, wanted));
        const components error = wanted - table.entries[index];
        errors[column] = 3 * error / 8;
        carry = 5 * error / 8;
        if (is_zero(taken) && is_zero(carry)) {
            const std::ptrdiff_t same =
                run_without_errors(target, begin + column, begin + end, errors + column);
            std::memset(y + column, index, static_cast<std::size_t>(same));
            column += same;
        } else {
            y[column++] = index;
        }
    }
}

void map_with_diffusion(const picture& target, const palette& colours, components* errors)
{
    distance_table table;
    for (std::size_t k = 0; k < plane_total; ++k)
        prepare_component(table, colours, k);
    const auto [indices, lines, pitch] = target.planes[0];
    for (std::ptrdiff_t line = 0; line < lines; ++line)
        map_line(table, target, line * pitch, errors);
}

/// Where every colour has its entry, every error is zero.
void map_exactly(const picture& target, const palette& colours)
{
    const auto [indices, lines, pitch] = target.planes[0];
    const auto entries = std::bit_cast<std::array<packed_colour, palette_capacity>>(colours.entries);
    const std::ptrdiff_t pixels = std::ptrdiff_t{lines} * pitch;
    for (std::ptrdiff_t pixel = 0; pixel < pixels;) {
        const auto index = std::ranges::find(entries, colour_at(target, pixel)) - entries.begin();
        const std::ptrdiff_t run = colour_run(target, pixel, pixels);
        std::memset(indices + pixel, static_cast<int>(index), static_cast<std::size_t>(run));
        pixel += run;
    }
}

} // namespace

bool map_pixels(const picture& target, const palette& colours, bool exact)
{
    // In any case, so that a lack of memory does not depend on the colours of a picture.
    const error_row errors = new_error_row(target.planes[0].pitch);
    if (errors == nullptr)
        return false;
    if (exact)
        map_exactly(target, colours);
    else
        map_with_diffusion(target, colours, errors.get());
    return true;
}
