#pragma once

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
