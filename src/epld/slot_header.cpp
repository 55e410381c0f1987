#include "slot_header.h"

namespace {

constexpr std::uint8_t low_byte(std::uint32_t value)
{
    return static_cast<std::uint8_t>(value);
}

} // namespace

packet_count count_packets(std::uint32_t size)
{
    packet_count count{.full = low_byte(size / packet_size), .last_size = low_byte(size % packet_size)};
    if (count.full != 0 && count.last_size == 0)
        count = {.full = low_byte(count.full - 1U), .last_size = packet_size};
    return count;
}

slot_header_bytes encode_packed_header(const slot_header& header)
{
    const auto [full, last_size] = count_packets(header.size);
    const std::uint32_t full_bits = std::uint32_t{full} << 5;
    return {
        header.type, low_byte(header.address >> 5), low_byte(full_bits | (header.address & 0x1F)), last_size};
}

slot_header_bytes encode_whole_packet_header(const slot_header& header)
{
    const std::uint32_t packets = header.size / packet_size + (header.size % packet_size != 0 ? 1 : 0);
    return {header.type, low_byte(header.address >> 8), low_byte(header.address), low_byte(packets)};
}
