#pragma once

#include <cstdint>

/// What the table inserter of the logic device shows to the bus: registers, packet memory and the
/// bits of a slot's type byte.

inline constexpr std::uint8_t control_register = 0; ///< byte data, read and write
inline constexpr std::uint8_t insertion_bit = 0x10; ///< in `control_register`: the slots go into the output

inline constexpr std::uint8_t command_register = 2; ///< byte data, write
inline constexpr std::uint8_t delete_tables_command = 7;

inline constexpr std::uint8_t address_register = 11; ///< word data, write: where the data port stands
inline constexpr std::uint8_t data_register = 32;    ///< block data: packet memory, advancing the pointer

inline constexpr std::uint32_t packet_memory_size = 6144; ///< bytes, header table included
inline constexpr std::uint32_t packet_size = 188;         ///< bytes of a transport-stream packet
inline constexpr std::uint32_t slot_header_size = 4;      ///< bytes
inline constexpr std::uint32_t slot_packets_max = 8;

/// Type byte of a stream slot that holds nothing, and of one whose packets are to be sent once. Read
/// back, the busy bit stays until they are sent; the device sets the acknowledged bit.
inline constexpr std::uint8_t empty_stream_type = 0x82;
inline constexpr std::uint8_t loaded_stream_type = 0x83;
inline constexpr std::uint8_t begins_pes_bit =
    0x04; ///< of a loaded slot whose first packet begins a PES packet
inline constexpr std::uint8_t slot_busy_bit = 0x01;
inline constexpr std::uint8_t slot_acknowledged_bit = 0x08;

/// The new generation packs its table runs and ends its header table with a 0 byte; the old one
/// wants whole packets.
constexpr bool is_new_generation(std::uint32_t epld_version)
{
    return epld_version > 2;
}
