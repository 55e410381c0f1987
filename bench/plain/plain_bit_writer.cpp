#include "plain_bit_writer.h"

namespace plain {

void write_bits(bit_writer& out, std::int32_t count, std::uint32_t value)
{
    while (count > 0) {
        if (out.current == out.end)
            break;
        --count;
        const std::uint32_t bit = count < 32 ? value >> count & 1U : 0;
        const std::uint32_t place = 1U << (out.bits_left - 1);
        *out.current = static_cast<std::uint8_t>(bit != 0 ? *out.current | place : *out.current & ~place);
        --out.bits_left;
        if (out.bits_left == 0) {
            ++out.current;
            out.bits_left = 8;
        }
    }
}

void align_bits(bit_writer& out)
{
    if (out.bits_left != 8)
        write_bits(out, out.bits_left, 0);
}

} // namespace plain
