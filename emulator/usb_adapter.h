#pragma once

#include "i2c_bus.h"

#include <array>

/// The USB side of the adapter: a device with the control endpoint alone, which speaks the vendor requests
/// that the kernel's driver i2c-tiny-usb makes.

/// The eight bytes before the data of a control transfer (USB 2.0, 9.3).
using usb_setup = std::array<std::uint8_t, 8>;

struct usb_adapter {
    i2c_bus& bus;
    bool acknowledged = false; ///< the last message on the bus
};

/// Answers a control transfer. `data` are the bytes that the host has sent, or the room for those that it
/// wants. Returns how many were taken or filled in; nothing when the adapter does not know the request and
/// stalls.
[[nodiscard]] std::optional<std::size_t> answer_control(
    usb_adapter& adapter, const usb_setup& setup, std::span<std::uint8_t> data);
