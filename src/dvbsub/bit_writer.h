#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Puts bit fields into a borrowed buffer, most significant bit first. What does not fit is dropped.
struct bit_writer {
    std::uint8_t* start = nullptr;
    std::uint8_t* current = nullptr; ///< the byte being filled
    std::uint8_t* end = nullptr;     ///< one past the last byte
    std::int32_t bits_left = 8;      ///< free bits in the byte at `current`: 8 down to 1
};

/// Starts at the front of the `size_bytes` at `buffer`, which need not be cleared.
void bs_init(bit_writer& out, std::uint8_t* buffer, std::size_t size_bytes);

/// Bits written so far; once the buffer is full, its size in bits.
[[nodiscard]] std::int32_t bs_pos(const bit_writer& out);

/// Appends the low `count` bits of `value`; those above bit 31 are zero. Bits of the last byte that
/// are still free keep what they held. A count of 0 or less writes nothing.
void bs_write(bit_writer& out, std::int32_t count, std::uint32_t value);

/// Appends whole bytes, at a byte boundary.
void bs_write_bytes(bit_writer& out, std::span<const std::uint8_t> bytes);

/// Appends zero bits up to the next byte boundary; none on a boundary.
void bs_align_0(bit_writer& out);

/// Stores the value at the address, high byte first.
// Reserved to the implementation, but the established name of this operation; no library has it.
void _SetWBE(std::uint8_t* address, std::uint16_t value); // NOLINT(bugprone-reserved-identifier)
