#pragma once

#include "digest.h"
#include "picture.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The pixel data of an object: top and bottom field.
using coded_fields = std::array<std::span<const std::uint8_t>, 2>;

/// What became of a region's picture in a display set: the colours and the pixel data of every region with
/// the same picture. The pixel data lie in that display set's block.
struct coded_region {
    digest source{};       ///< of the "YUVA" picture
    bool complete = false; ///< otherwise there is only the digest yet
    std::array<palette_entry, 16> colours{};
    coded_fields fields{};
};

/// The regions of some display sets, none of whose blocks is released before this.
struct coded_regions {
    std::array<coded_region, 256> regions{}; ///< from the front on
    std::size_t count = 0;
};

/// Marks every region of the display set, which is to be encoded for the first time, with the one coded
/// before that has the same picture, or else with a new one, which the encoder will fill in. When there
/// is no room for a new one, the region stays unmarked and is encoded for itself.
void find_coded_regions(coded_regions& known, subpicture& page);
