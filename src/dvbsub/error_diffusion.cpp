#include "error_diffusion.h"

#include "runs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <malloc.h>
#include <memory>

namespace {

constexpr std::size_t entry_limit = 16;
constexpr std::array<std::int32_t, plane_total> distance_weights{1, 1, 1, 2};

// The compilers' own vectors, for which they take the machine's where it has some, and single operations
// where it has none. No function returns one: without vector registers there is no way to.

/// Y, U, V and A. What a pixel is handed weighs a whole error, and its own comes on top, so errors grow
/// over a region: by up to 680 from line to line and by up to 408 from column to column, whichever gives
/// less. To leave 32 bits takes a region of terabytes.
using components = std::int32_t __attribute__((vector_size(16)));
using distance_lanes = std::int16_t __attribute__((vector_size(16)));
using word_pair = std::uint64_t __attribute__((vector_size(16)));

/// How far each of sixteen entries is away, in one component or in all: lanes of 16 bits, each the
/// distance times 16 plus, once, the entry's index. So the least lane is the nearest entry's, on a tie
/// the first one's, and tells its index. Lanes don't overflow in the sum of all components, so that
/// whole words can be added.
struct distances {
    word_pair low;
    word_pair high;
};
constexpr std::int32_t distance_unit = entry_limit;
static_assert((1 + 1 + 1 + 2) * 255 * distance_unit + distance_unit <= 0x7FFF);

/// What there is to know about a palette: a table for each value that a component takes among its entries
/// or between them. Not cleared: most of its 33 KB are never looked at.
struct nearness {
    std::array<std::array<distances, 256>, plane_total> by_value; ///< set from `lowest` to `highest`
    std::array<components, entry_limit> entries;
    components lowest;
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

using component_values = std::array<std::int32_t, entry_limit>;

void set_distances(distances& target, const component_values& values, std::int32_t value, std::size_t k)
{
    std::array<std::int16_t, entry_limit> lanes{};
    for (std::size_t j = 0; j < entry_limit; ++j) {
        const std::int32_t distance = std::abs(values[j] - value) * distance_weights[k];
        const std::int32_t number = k == 0 ? static_cast<std::int32_t>(j) : 0;
        lanes[j] = static_cast<std::int16_t>(distance * distance_unit + number);
    }
    std::memcpy(&target, lanes.data(), sizeof target);
}

/// In place of entries that the palette has not stands its first one, which wins every tie with them.
void prepare(nearness& table, const palette& colours)
{
    for (std::size_t k = 0; k < plane_total; ++k) {
        component_values values{};
        for (std::size_t j = 0; j < entry_limit; ++j) {
            const bool used = j < static_cast<std::size_t>(colours.entry_count);
            values[j] = colours.entries[used ? j : 0][k];
            table.entries[j][k] = values[j];
        }
        const auto [lowest, highest] = std::ranges::minmax(values);
        table.lowest[k] = lowest;
        table.highest[k] = highest;
        for (std::int32_t value = lowest; value <= highest; ++value)
            set_distances(table.by_value[k][static_cast<std::size_t>(value)], values, value, k);
    }
}

void keep_lesser(distance_lanes& kept, const distance_lanes& other)
{
    kept = kept < other ? kept : other;
}

/// Index of the entry nearest to the colour. Beyond all entries each of them gets farther by the same,
/// which changes nothing between them, so the search is for the closest colour among them. (That all
/// are 99,999,999 or more away, and index 0 is taken, needs a region of a thousand million pixels.)
std::size_t nearest(const nearness& table, const components& wanted)
{
    components within = wanted < table.lowest ? table.lowest : wanted;
    within = within > table.highest ? table.highest : within;
    const distances& y = table.by_value[0][static_cast<std::uint32_t>(within[0])];
    const distances& u = table.by_value[1][static_cast<std::uint32_t>(within[1])];
    const distances& v = table.by_value[2][static_cast<std::uint32_t>(within[2])];
    const distances& a = table.by_value[3][static_cast<std::uint32_t>(within[3])];
    auto least = reinterpret_cast<distance_lanes>(y.low + u.low + v.low + a.low);
    keep_lesser(least, reinterpret_cast<distance_lanes>(y.high + u.high + v.high + a.high));
    keep_lesser(least, __builtin_shufflevector(least, least, 4, 5, 6, 7, 0, 1, 2, 3));
    keep_lesser(least, __builtin_shufflevector(least, least, 2, 3, 0, 1, 6, 7, 4, 5));
    return static_cast<std::uint32_t>(std::min(least[0], least[1])) % distance_unit;
}

bool is_zero(const components& value)
{
    const auto words = reinterpret_cast<word_pair>(value);
    return (words[0] | words[1]) == 0;
}

/// A line of a region. `errors` holds what each pixel is handed from above, then what it hands on.
struct mapped_line {
    const picture& target;
    std::ptrdiff_t begin = 0;
    components* errors = nullptr;
};

/// A pixel that is handed nothing and hands nothing on.
struct settled_pixel {
    std::ptrdiff_t column = 0; ///< the line's end when there is none
    std::uint8_t index = 0;    ///< not yet in plane 0
};

/// Maps the pixels from `column` on, to which nothing is carried, until one is settled.
settled_pixel map_to_settled(const nearness& table, const mapped_line& line, std::ptrdiff_t column)
{
    const auto& planes = line.target.planes;
    std::uint8_t* const y = planes[0].pixels + line.begin;
    const std::uint8_t* const u = planes[1].pixels + line.begin;
    const std::uint8_t* const v = planes[2].pixels + line.begin;
    const std::uint8_t* const a = planes[3].pixels + line.begin;
    const std::ptrdiff_t end = planes[0].pitch;
    components carry{};
    for (; column < end; ++column) {
        const components handed = line.errors[column] + carry;
        const components wanted = components{y[column], u[column], v[column], a[column]} + handed;
        const auto index = static_cast<std::uint8_t>(nearest(table, wanted));
        const components error = wanted - table.entries[index];
        line.errors[column] = 3 * error / 8;
        carry = 5 * error / 8;
        if (is_zero(handed) && is_zero(carry))
            return {.column = column, .index = index};
        y[column] = index;
    }
    return {.column = end};
}

/// Maps a settled pixel and those behind it that get the same answer: they have its colour and are
/// handed nothing either. Returns the column behind them.
std::ptrdiff_t map_repetitions(const mapped_line& line, const settled_pixel& settled)
{
    const plane& indices = line.target.planes[0];
    const std::ptrdiff_t first = line.begin + settled.column;
    const std::ptrdiff_t run = colour_run(line.target, first, line.begin + indices.pitch);
    const components* const handed = line.errors + settled.column;
    std::ptrdiff_t count = 1;
    while (count < run && is_zero(handed[count]))
        ++count;
    std::memset(indices.pixels + first, settled.index, static_cast<std::size_t>(count));
    return settled.column + count;
}

void map_line(const nearness& table, const mapped_line& line)
{
    const std::ptrdiff_t end = line.target.planes[0].pitch;
    std::ptrdiff_t column = 0;
    while (column < end) {
        const settled_pixel settled = map_to_settled(table, line, column);
        column = settled.column < end ? map_repetitions(line, settled) : end;
    }
}

void map_with_diffusion(const picture& target, const palette& colours, components* errors)
{
    nearness table;
    prepare(table, colours);
    const auto [indices, lines, pitch] = target.planes[0];
    for (std::ptrdiff_t line = 0; line < lines; ++line)
        map_line(table, {.target = target, .begin = line * pitch, .errors = errors});
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
