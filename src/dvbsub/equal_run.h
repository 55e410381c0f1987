#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

[[nodiscard]] inline std::uint64_t word_at(const std::uint8_t* bytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// Place in memory of the first byte that is not zero, of a word that is not zero.
[[nodiscard]] inline std::ptrdiff_t first_byte_set(std::uint64_t word)
{
    return (std::endian::native == std::endian::little ? std::countr_zero(word) : std::countl_zero(word)) / 8;
}

/// How many pixels at the front of `count`, 1 at least, are the same as the first in every plane.
template <std::size_t plane_count>
[[nodiscard]] std::ptrdiff_t equal_run(
    const std::array<const std::uint8_t*, plane_count>& planes, std::ptrdiff_t count)
{
    constexpr std::ptrdiff_t word_pixels = sizeof(std::uint64_t);
    std::ptrdiff_t last = 0;
    for (; last + word_pixels < count; last += word_pixels) {
        std::uint64_t changes = 0;
        for (const std::uint8_t* pixels : planes)
            changes |= word_at(pixels + last) ^ word_at(pixels + last + 1);
        if (changes != 0)
            return last + first_byte_set(changes) + 1;
    }
    const auto goes_on = [&last](const std::uint8_t* pixels) { return pixels[last] == pixels[last + 1]; };
    while (last + 1 < count && std::ranges::all_of(planes, goes_on))
        ++last;
    return last + 1;
}
