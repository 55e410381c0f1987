#pragma once

#include "bus.h"
#include "registers.h"

#include <cstdint>
#include <span>

/// The register operations of the table inserter. `fd` is the open descriptor, bound to the device.
/// They return 0, or `request_failed` after a message on standard output that names the operation.
/// The results of the writes may be left unread: a failed one is reported, and the daemon carries on.

/// How many requests the bus has refused since the process began.
[[nodiscard]] std::uint32_t refused_requests();

/// Deletes all tables.
std::int32_t remove_tables(int fd);

/// Switches insertion into the output on (non-zero) or off and leaves the other control bits alone.
std::int32_t send_i2c_insert(int fd, std::uint8_t on);

/// Points the data port to a byte address of packet memory; 16 bits are used.
std::int32_t send_i2c_offset(int fd, std::uint32_t address);

/// Writes one byte, or the low 16 bits with the high byte first, where the data port points.
std::int32_t send_i2c_byte(int fd, std::uint8_t value);
std::int32_t send_i2c_word(int fd, std::uint32_t value);

/// Writes a slot header where the data port points, in the format of the device's generation (above
/// 2: the new one): its type, the address of its packet run and the size in bytes that counts. On the
/// old generation a size that is no whole number of packets draws a warning on standard error.
std::int32_t send_i2c_header(
    int fd, std::uint8_t generation, std::uint8_t type, std::uint32_t address, std::uint32_t size);

/// Writes one transport-stream packet where the data port points. Stops at the first failed block.
std::int32_t send_i2c_data(int fd, std::span<const std::uint8_t, packet_size> packet);

/// Prints `count` bytes from where the data port points, for diagnosis. A read that returns nothing
/// although bytes are wanted counts as failed.
std::int32_t read_bytes_bram(int fd, std::uint32_t count);

/// Whether the device has yet to send the stream slot whose header is at that address: 1 or 0.
[[nodiscard]] std::int32_t is_slot_busy(int fd, std::uint32_t header_address);

/// Whether the device has taken up the stream slot whose header is at that address: 1 when it is not
/// busy any more, 8 when it is busy and acknowledged, 0 when it is not acknowledged yet.
[[nodiscard]] std::int32_t is_slot_acknowledged(int fd, std::uint32_t header_address);

/// The low 4 bits of the last byte of the header at that address, for diagnosis.
[[nodiscard]] std::int32_t read_continuity_counter(int fd, std::uint32_t header_address);
