#pragma once

#include "registers.h"

#include <array>
#include <cstdint>

/// What a slot header tells the device.
struct slot_header {
    std::uint8_t type = 0;
    std::uint32_t address = 0; ///< byte address of the slot's first packet in packet memory
    std::uint32_t size = 0;    ///< bytes that count, from there on
};

/// A size in packets, as the new generation counts it: bytes 2 and 3 of its slot header.
struct packet_count {
    std::uint8_t full = 0;      ///< packets before the last one, 0 to 7
    std::uint8_t last_size = 0; ///< valid bytes of the last one: 1 to 188; 0 only for size 0
};

packet_count count_packets(std::uint32_t size);

using slot_header_bytes = std::array<std::uint8_t, slot_header_size>;

/// The header as the new generation reads it: 13 bits of address, the number of packets minus 1 in
/// 3 bits, and the valid bytes of the last packet (1 to 188; 0 only for size 0).
slot_header_bytes encode_packed_header(const slot_header& header);

/// The header as the old generation reads it: 16 bits of address and the number of packets in 8; a
/// packet begun counts as a whole one.
slot_header_bytes encode_whole_packet_header(const slot_header& header);
