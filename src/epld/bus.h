#pragma once

#include <cstdint>
#include <span>

/// The requests that this system makes of the I2C bus, one function each. One implementation talks
/// to Linux i2c-dev; the unit tests link another in its place, on a model of the device.

/// Result of an operation whose request the bus refused.
inline constexpr std::int32_t request_failed = -14;

/// Opens the I2C bus for reading and writing. Returns a descriptor that the caller closes, or a
/// negative value with `errno` set.
[[nodiscard]] int bus_open();

/// Binds the descriptor to the device's slave address. Returns 0, or a negative value with `errno` set.
[[nodiscard]] int bus_bind(int fd);

/// Closes the descriptor.
void bus_close(int fd);

/// SMBus byte-data read of a register. Returns its value, 0 to 255, or `request_failed`.
[[nodiscard]] std::int32_t bus_read_byte(int fd, std::uint8_t register_number);

/// SMBus byte-data, word-data (low byte first on the wire) and I2C block-data writes to a register.
/// A block is 1 to 31 bytes. They return 0 or `request_failed`.
[[nodiscard]] std::int32_t bus_write_byte(int fd, std::uint8_t register_number, std::uint8_t value);
[[nodiscard]] std::int32_t bus_write_word(int fd, std::uint8_t register_number, std::uint16_t value);
[[nodiscard]] std::int32_t bus_write_block(
    int fd, std::uint8_t register_number, std::span<const std::uint8_t> bytes);

/// I2C block-data read of at most `bytes.size()` (up to 31) bytes. Returns how many bytes the device
/// returned, now at the front of `bytes`, or `request_failed`.
[[nodiscard]] std::int32_t bus_read_block(
    int fd, std::uint8_t register_number, std::span<std::uint8_t> bytes);

/// Sleeps between two polls.
void bus_pause(std::uint32_t pause_us);
