#pragma once

#include "picture.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// Stands for bytes that are not kept. 128 bits: two different contents with the same digest would
/// show a viewer the wrong picture, so they must not be met in practice. No defence against somebody
/// who looks for them.
struct digest {
    std::array<std::uint64_t, 2> words{};

    bool operator==(const digest&) const = default;
};

/// Makes `sum` the digest of what it stood for and these bytes. The digest depends on where the content
/// is divided.
void add_bytes(digest& sum, std::span<const std::uint8_t> bytes);

/// The same with one number.
void add_number(digest& sum, std::uint64_t number);

/// The pixel data of an object: top and bottom field.
using coded_fields = std::array<std::span<const std::uint8_t>, 2>;

/// What became of a region in a display set: the colours and the pixel data of every region that was
/// drawn alike. The pixel data lie in that display set's block.
struct coded_region {
    digest source{};       ///< of what was drawn, and its size
    bool complete = false; ///< otherwise there is only the digest yet
    std::array<palette_entry, 16> colours{};
    coded_fields fields{};
};

/// The regions of some display sets, whose blocks must outlive this record.
struct coded_regions {
    std::array<coded_region, 256> regions{}; ///< from the front on
    std::size_t count = 0;
};

/// The region drawn like that; if there is none, a new one, which the encoder will complete for the region
/// that has it as its `coded`. Null when there is no room for one more.
[[nodiscard]] coded_region* coded_region_for(coded_regions& known, const digest& source);
