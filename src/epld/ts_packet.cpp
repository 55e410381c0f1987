#include "ts_packet.h"

namespace {

constexpr std::uint8_t sync_byte = 0x47;
constexpr std::uint32_t payload_unit_start = 0x40;
constexpr std::uint32_t payload_only = 0x10;

} // namespace

void create_dvb_header(std::span<std::uint8_t, dvb_header_size> header, std::int32_t pid,
    std::uint8_t packet_index, std::uint8_t counter)
{
    const auto pid_bits = static_cast<std::uint32_t>(pid);
    const std::uint32_t start = packet_index == 0 ? payload_unit_start : 0;
    header[0] = sync_byte;
    header[1] = static_cast<std::uint8_t>(start | (pid_bits >> 8 & 0x1F));
    header[2] = static_cast<std::uint8_t>(pid_bits);
    header[3] = static_cast<std::uint8_t>(payload_only | (counter & 0x0FU));
}
