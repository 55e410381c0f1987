#pragma once

#include "picture.h"

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
