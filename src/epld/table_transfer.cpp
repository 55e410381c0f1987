#include "table_transfer.h"

#include "protocol.h"
#include "ts_packet.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>

namespace {

constexpr std::uint8_t stuffing_byte = 0xFF;

/// Fills one packet with the next bytes of the section, taken from the front of `left`, and stuffing.
/// Returns the bytes of the packet up to the section's end.
std::size_t fill_packet(std::span<std::uint8_t, packet_size> packet, const dvb_table& table,
    std::uint8_t packet_index, std::span<const std::uint8_t>& left)
{
    std::ranges::fill(packet, stuffing_byte);
    create_dvb_header(packet.first<dvb_header_size>(), static_cast<std::int32_t>(table.pid), packet_index,
        table.continuity_counter);
    std::size_t position = dvb_header_size;
    if (packet_index == 0)
        packet[position++] = 0; // pointer_field: the section begins right behind it

    const auto piece = left.first(std::min(left.size(), packet.size() - position));
    std::ranges::copy(piece, packet.begin() + static_cast<std::ptrdiff_t>(position));
    left = left.subspan(piece.size());
    return position + piece.size();
}

} // namespace

std::int32_t copyTableToEpld(int fd, std::uint32_t address, dvb_table& table, std::uint8_t stuffing)
{
    const std::uint32_t packets = packets_of_section(table.length);
    if (packets > slot_packets_max) {
        std::fprintf(
            stderr, "table length (%u) exceeds slot capacity (%u packets)", table.length, slot_packets_max);
        return -1;
    }

    send_i2c_offset(fd, address);
    std::array<std::uint8_t, packet_size> packet{};
    auto left = std::span<const std::uint8_t>(table.data).first(table.length);
    std::size_t written = 0;
    for (std::uint32_t i = 0; i < packets; ++i) {
        const std::size_t used = fill_packet(packet, table, static_cast<std::uint8_t>(i), left);
        ++table.continuity_counter;
        written += stuffing != 0 ? packet.size() : used;
        send_i2c_data(fd, packet);
    }
    return static_cast<std::int32_t>(written);
}
