#pragma once

#include "dvb_table.h"

#include <cstdint>

/// Packets that a section of `length` bytes takes: the first carries the pointer_field and 183 bytes
/// of it, each further one 184 (ISO/IEC 13818-1, 2.4.4).
constexpr std::uint32_t packets_of_section(std::uint32_t length)
{
    return length / 184 + 1;
}

/// Writes the section as one run of transport-stream packets to packet memory, from the byte address
/// on, and moves the table's continuity counter on by one per packet. Whole packets go out, 0xFF
/// behind the section's end. Returns the bytes of the run that count: all of them when `stuffing` is
/// not 0, else up to the section's end, where the next run may begin. A section of more than 8 packets
/// (1471 bytes) is refused: -1 after a message on standard error, and nothing is written. Failed
/// writes are reported and otherwise ignored.
[[nodiscard]] std::int32_t copyTableToEpld(
    int fd, std::uint32_t address, dvb_table& table, std::uint8_t stuffing);
