#pragma once

#include "picture.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

/// How many bytes at the front of `count`, 1 at least, are the same as the first. Looks at aligned words,
/// since many a small core reads no others at once.
[[nodiscard]] inline std::ptrdiff_t equal_run(const std::uint8_t* bytes, std::ptrdiff_t count)
{
    using word = std::uintptr_t;
    constexpr word every_byte = ~word{0} / 0xFF;
    const std::uint8_t first = *bytes;
    const std::uint8_t* const end = bytes + count;
    const std::uint8_t* next = bytes + 1;
    const auto goes_on = [&] { return next != end && *next == first; };
    for (; reinterpret_cast<std::uintptr_t>(next) % sizeof(word) != 0; ++next) {
        if (!goes_on())
            return next - bytes;
    }
    for (; end - next >= static_cast<std::ptrdiff_t>(sizeof(word)); next += sizeof(word)) {
        word same = 0;
        std::memcpy(&same, std::assume_aligned<sizeof(word)>(next), sizeof same);
        if (same != first * every_byte)
            break;
    }
    while (goes_on())
        ++next;
    return next - bytes;
}

/// How many pixels from `begin` on, itself included, have its colour and come before `end`.
[[nodiscard]] std::ptrdiff_t colour_run(const picture& source, std::ptrdiff_t begin, std::ptrdiff_t end);

/// A colour in one word, which compares faster: its bytes are those of the palette entry.
using packed_colour = std::uint32_t;

[[nodiscard]] inline packed_colour colour_at(const picture& source, std::ptrdiff_t pixel)
{
    palette_entry colour{};
    for (std::size_t k = 0; k < plane_total; ++k)
        colour[k] = source.planes[k].pixels[pixel];
    return std::bit_cast<packed_colour>(colour);
}
