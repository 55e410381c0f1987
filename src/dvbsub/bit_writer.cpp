#include "bit_writer.h"

#include <algorithm>

namespace {

constexpr std::int32_t byte_bits = 8;

} // namespace

void bs_init(bit_writer& out, std::uint8_t* buffer, std::size_t size_bytes)
{
    out = {.start = buffer, .current = buffer, .end = buffer + size_bytes, .bits_left = byte_bits};
}

std::int32_t bs_pos(const bit_writer& out)
{
    return static_cast<std::int32_t>((out.current - out.start + 1) * byte_bits - out.bits_left);
}

void bs_write(bit_writer& out, std::int32_t count, std::uint32_t value)
{
    while (count > 0 && out.current != out.end) {
        const std::int32_t taken = std::min(count, out.bits_left);
        count -= taken;
        out.bits_left -= taken;
        const std::uint32_t mask = ((1U << taken) - 1) << out.bits_left;
        const std::uint32_t bits = count < 32 ? (value >> count) << out.bits_left : 0;
        *out.current = static_cast<std::uint8_t>((*out.current & ~mask) | (bits & mask));
        if (out.bits_left == 0) {
            ++out.current;
            out.bits_left = byte_bits;
        }
    }
}

void bs_write_bytes(bit_writer& out, std::span<const std::uint8_t> bytes)
{
    const auto room = static_cast<std::size_t>(out.end - out.current);
    out.current = std::ranges::copy(bytes.first(std::min(bytes.size(), room)), out.current).out;
}

void bs_align_0(bit_writer& out)
{
    if (out.bits_left != byte_bits)
        bs_write(out, out.bits_left, 0);
}

void _SetWBE(std::uint8_t* address, std::uint16_t value) // NOLINT(bugprone-reserved-identifier)
{
    address[0] = static_cast<std::uint8_t>(value >> 8);
    address[1] = static_cast<std::uint8_t>(value);
}
