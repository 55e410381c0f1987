#include "plain_conversion.h"

#include <cstdlib>

namespace {

constexpr std::size_t limit = 16;

using components = std::array<std::int64_t, plane_total>;

components pixel_at(const pixel_copy& source, std::int64_t p)
{
    components pixel{};
    for (std::size_t k = 0; k < plane_total; ++k)
        pixel[k] = source.bytes[k * static_cast<std::size_t>(source.lines * source.pitch)
            + static_cast<std::size_t>(p)];
    return pixel;
}

std::int64_t greatest_common_divisor(std::int64_t a, std::int64_t b)
{
    return b == 0 ? a : greatest_common_divisor(b, a % b);
}

std::int64_t visiting_step(const pixel_copy& source)
{
    std::int64_t s = ((3 * source.lines) / 4) * source.pitch + source.pitch / 3;
    while (s > 1 && greatest_common_divisor(source.lines * source.pitch, s) != 1)
        --s;
    return s < 1 ? 1 : s;
}

bool is_near(const palette_entry& entry, const components& pixel, std::int64_t t)
{
    return std::abs(entry[0] - pixel[0]) <= t && std::abs(entry[1] - pixel[1]) <= t
        && std::abs(entry[2] - pixel[2]) <= t && std::abs(entry[3] - pixel[3]) <= t / 2;
}

bool collect(std::vector<palette_entry>& entries, const pixel_copy& source, std::int64_t s, std::int64_t t)
{
    const std::int64_t n = source.lines * source.pitch;
    entries.clear();
    for (std::int64_t visited = 0, i = 0; visited < n; ++visited, i = (i + s) % n) {
        const components pixel = pixel_at(source, i);
        bool found = false;
        for (const auto& entry : entries)
            found = found || is_near(entry, pixel, t);
        if (!found)
            entries.push_back({static_cast<std::uint8_t>(pixel[0]), static_cast<std::uint8_t>(pixel[1]),
                static_cast<std::uint8_t>(pixel[2]), static_cast<std::uint8_t>(pixel[3])});
        if (entries.size() == limit)
            return false;
    }
    return true;
}

std::size_t best_entry(const std::vector<palette_entry>& entries, const components& wanted)
{
    std::size_t best = 0;
    std::int64_t best_distance = 99'999'999;
    for (std::size_t j = 0; j < entries.size(); ++j) {
        const std::int64_t distance = std::abs(entries[j][0] - wanted[0])
            + std::abs(entries[j][1] - wanted[1]) + std::abs(entries[j][2] - wanted[2])
            + 2 * std::abs(entries[j][3] - wanted[3]);
        if (distance < best_distance) {
            best_distance = distance;
            best = j;
        }
    }
    return best;
}

std::vector<std::uint8_t> map(const std::vector<palette_entry>& entries, const pixel_copy& source)
{
    std::vector<std::uint8_t> indices;
    std::vector<components> error(static_cast<std::size_t>(source.pitch));
    for (std::int64_t r = 0; r < source.lines; ++r) {
        components carry{};
        for (std::int64_t c = 0; c < source.pitch; ++c) {
            auto& above = error[static_cast<std::size_t>(c)];
            components wanted = pixel_at(source, r * source.pitch + c);
            for (std::size_t k = 0; k < plane_total; ++k)
                wanted[k] += above[k] + carry[k];
            const std::size_t j = best_entry(entries, wanted);
            indices.push_back(static_cast<std::uint8_t>(j));
            for (std::size_t k = 0; k < plane_total; ++k) {
                above[k] = 3 * (wanted[k] - entries[j][k]) / 8;
                carry[k] = 5 * (wanted[k] - entries[j][k]) / 8;
            }
        }
    }
    return indices;
}

} // namespace

pixel_copy copy_of(const picture& source)
{
    const auto [pixels, lines, pitch] = source.planes[0];
    const std::int64_t bytes = std::int64_t{lines} * pitch * std::int64_t{plane_total};
    return {.lines = lines, .pitch = pitch, .bytes = {pixels, pixels + bytes}};
}

converted_pixels convert_plainly(const pixel_copy& source)
{
    converted_pixels converted;
    const std::int64_t s = visiting_step(source);
    std::int64_t t = 0;
    while (!collect(converted.entries, source, s, t) && t < 127)
        ++t;
    converted.indices = map(converted.entries, source);
    converted.entries.resize(limit);
    return converted;
}
