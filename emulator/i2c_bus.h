#pragma once

#include "sessions.h"

#include <optional>

/// The device at its address of an I2C bus, as the messages of the bus reach it.

/// One message between a (repeated) start and the next, or the stop.
struct i2c_message {
    std::uint16_t address = 0;
    std::uint16_t flags = 0;         ///< I2C_M_RD of linux/i2c.h; the device knows no other
    bool first = false;              ///< of its transaction: behind a start
    bool last = false;               ///< of its transaction: the stop follows
    std::span<std::uint8_t> bytes{}; ///< written to the device, or filled by it
};

struct i2c_bus {
    static constexpr std::uint16_t device_address = 5;

    emulation& run;
    std::span<const std::uint8_t> encoder{};
    session_log sessions{};
    bool device_absent = false;                      ///< nobody answers at its address
    std::optional<std::uint8_t> selected_register{}; ///< what a read in this transaction would read
};

/// Puts a message on the bus. A register number and bytes behind it are a write; a register number alone,
/// and a read in the same transaction, are a read (the forms of SMBus byte, word and I2C block data); no
/// byte at all asks whether there is somebody. The run goes on by the transfer's time on the wire. Returns
/// whether the device has acknowledged; what it does not know, it notes and does not acknowledge.
[[nodiscard]] bool put_message(i2c_bus& bus, const i2c_message& message);
