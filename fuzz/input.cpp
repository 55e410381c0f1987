#include "input.h"

#include <algorithm>
#include <cstdlib>

std::string_view text_of(std::span<const std::uint8_t> input)
{
    return {reinterpret_cast<const char*>(input.data()), input.size()};
}

std::string_view take_until(std::string_view& rest, char separator)
{
    const std::string_view taken = rest.substr(0, rest.find(separator));
    rest.remove_prefix(std::min(taken.size() + 1, rest.size()));
    return taken;
}

std::uint32_t take_u8(std::span<const std::uint8_t>& rest)
{
    const auto byte = take_bytes(rest, 1);
    return byte.empty() ? 0U : byte[0];
}

std::uint32_t take_u16(std::span<const std::uint8_t>& rest)
{
    const std::uint32_t high = take_u8(rest);
    return high << 8 | take_u8(rest);
}

std::uint32_t take_u32(std::span<const std::uint8_t>& rest)
{
    const std::uint32_t high = take_u16(rest);
    return high << 16 | take_u16(rest);
}

std::int32_t take_s16(std::span<const std::uint8_t>& rest)
{
    return static_cast<std::int16_t>(take_u16(rest));
}

std::span<const std::uint8_t> take_bytes(std::span<const std::uint8_t>& rest, std::size_t count)
{
    const auto taken = rest.first(std::min(count, rest.size()));
    rest = rest.subspan(taken.size());
    return taken;
}

void require(bool holds)
{
    if (!holds)
        std::abort();
}
