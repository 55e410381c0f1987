#pragma once

#include "picture.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The pixel data of an object: top and bottom field.
using coded_fields = std::array<std::span<const std::uint8_t>, 2>;

/// A region of a display set that has been encoded: what every region with the same pixels becomes.
struct coded_region {
    pixel_digest pixels{}; ///< before their conversion to a palette
    std::array<palette_entry, 16> colours{};
    coded_fields fields{}; ///< in the block of that display set
};

/// Regions of display sets encoded one after the other. Their blocks must outlive this record.
struct coded_regions {
    std::array<coded_region, 256> regions{}; ///< from the front on
    std::size_t count = 0;
};

/// The digest of a picture's size and its four planes.
[[nodiscard]] pixel_digest digest_of(const picture& source);

/// Looks up the region with those pixels. Null when there is none.
[[nodiscard]] const coded_region* find_coded_region(const coded_regions& encoded, const pixel_digest& pixels);

/// Inserts a region whose pixels are not among them yet. Without room it is left out.
void insert_coded_region(coded_regions& encoded, const coded_region& region);
