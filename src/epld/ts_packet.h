#pragma once

#include <cstdint>
#include <span>

inline constexpr std::uint32_t dvb_header_size = 4; ///< bytes before the payload of a packet

/// Writes a transport-stream packet header (ISO/IEC 13818-1, 2.4.3.2) of a packet that carries payload
/// only. The low 13 bits of `pid` and the low 4 bits of `counter` are used; `packet_index` counts the
/// packets of a section or PES packet, and 0 sets payload_unit_start_indicator.
void create_dvb_header(std::span<std::uint8_t, dvb_header_size> header, std::int32_t pid,
    std::uint8_t packet_index, std::uint8_t counter);
