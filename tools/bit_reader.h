#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Takes bit fields from borrowed bytes, most significant bit first.
struct bit_reader {
    std::span<const std::uint8_t> bytes{};
    std::size_t position = 0; ///< in bits
    bool exhausted = false;   ///< more was asked for than there is; the rest was read as zeros
};

/// The next `count` bits, at most 32, as a number.
constexpr std::uint32_t take(bit_reader& in, std::size_t count)
{
    std::uint32_t value = 0;
    for (; count > 0; --count, ++in.position) {
        in.exhausted = in.exhausted || in.position / 8 >= in.bytes.size();
        const unsigned byte = in.exhausted ? 0U : in.bytes[in.position / 8];
        value = value << 1 | (byte >> (7 - in.position % 8) & 1U);
    }
    return value;
}

/// Whether all bytes have been taken, the last one at least in part.
constexpr bool at_end(const bit_reader& in)
{
    return (in.position + 7) / 8 >= in.bytes.size();
}
