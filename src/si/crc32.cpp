#include "crc32.h"

#include <array>
#include <cstddef>

namespace {

constexpr std::uint32_t polynomial = 0x04C11DB7;
constexpr std::uint32_t initial_register = 0xFFFFFFFF;

consteval std::array<std::uint32_t, 256> make_crc_table()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t remainder = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder << 1) ^ ((remainder >> 31) != 0 ? polynomial : 0);
        table[byte] = remainder;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> crc_table = make_crc_table();
static_assert(crc_table[0] == 0 && crc_table[1] == polynomial);

} // namespace

std::uint32_t crc32(const std::uint8_t* bytes, std::int32_t count)
{
    std::uint32_t crc = initial_register;
    for (std::int32_t i = 0; i < count; ++i)
        crc = crc_table[(crc >> 24) ^ bytes[i]] ^ (crc << 8);
    return crc;
}
