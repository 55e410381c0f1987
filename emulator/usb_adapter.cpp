#include "usb_adapter.h"

#include <algorithm>
#include <linux/i2c.h>
#include <linux/usb/ch9.h>
#include <string_view>

namespace {

// Numbers by which the driver knows the adapters that it serves.
constexpr std::uint16_t vendor = 0x0403;
constexpr std::uint16_t product = 0xC631;

// The vendor requests. The first and the last message of a transaction are marked.
constexpr std::uint8_t echo_request = 0;
constexpr std::uint8_t functions_request = 1;
constexpr std::uint8_t delay_request = 2;
constexpr std::uint8_t status_request = 3;
constexpr std::uint8_t message_request = 4;
constexpr std::uint8_t first_message = 1;
constexpr std::uint8_t last_message = 2;

constexpr std::uint8_t status_acknowledged = 1;
constexpr std::uint8_t status_not_acknowledged = 2;

constexpr std::uint32_t functions = I2C_FUNC_I2C | I2C_FUNC_SMBUS_EMUL;

constexpr std::uint8_t low(std::uint32_t value)
{
    return static_cast<std::uint8_t>(value);
}

constexpr std::uint8_t high(std::uint32_t value)
{
    return static_cast<std::uint8_t>(value >> 8);
}

/// A control request (USB 2.0, 9.3), its numbers in the order of this machine.
struct control_request {
    std::uint8_t type = 0;
    std::uint8_t number = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;
};

constexpr std::array<std::uint8_t, USB_DT_DEVICE_SIZE> device_descriptor{
    USB_DT_DEVICE_SIZE, USB_DT_DEVICE, 0x10, 0x01,          // bcdUSB 1.1
    USB_CLASS_VENDOR_SPEC, 0, 0, 64,                        // class, subclass, protocol, bMaxPacketSize0
    low(vendor), high(vendor), low(product), high(product), //
    0x00, 0x01, 1, 2, 0, 1,                                 // bcdDevice, strings, bNumConfigurations
};

constexpr std::array<std::uint8_t, USB_DT_CONFIG_SIZE + USB_DT_INTERFACE_SIZE> configuration_descriptor{
    USB_DT_CONFIG_SIZE, USB_DT_CONFIG, USB_DT_CONFIG_SIZE + USB_DT_INTERFACE_SIZE, 0, //
    1, 1, 0, USB_CONFIG_ATT_ONE, 50, // one interface, bConfigurationValue, 100 mA
    USB_DT_INTERFACE_SIZE, USB_DT_INTERFACE, 0, 0, 0, USB_CLASS_VENDOR_SPEC, 0, 0, 0, // no endpoint
};

constexpr std::string_view strings[] = {"tsinsertd", "Emulated logic device"};

std::size_t fill(std::span<std::uint8_t> room, std::span<const std::uint8_t> bytes)
{
    const std::size_t count = std::min(room.size(), bytes.size());
    std::copy_n(bytes.begin(), count, room.begin());
    return count;
}

/// A string descriptor in UTF-16 (USB 2.0, 9.6.7); number 0 lists the languages: English.
std::optional<std::size_t> fill_string(std::span<std::uint8_t> room, std::size_t number)
{
    if (number > std::size(strings))
        return {};
    std::vector<std::uint8_t> bytes{0, USB_DT_STRING};
    if (number == 0)
        bytes.insert(bytes.end(), {0x09, 0x04});
    else
        for (const char character : strings[number - 1])
            bytes.insert(bytes.end(), {static_cast<std::uint8_t>(character), 0});
    bytes[0] = static_cast<std::uint8_t>(bytes.size());
    return fill(room, bytes);
}

std::optional<std::size_t> fill_descriptor(std::span<std::uint8_t> room, std::uint16_t type_and_number)
{
    switch (type_and_number >> 8) {
    case USB_DT_DEVICE:
        return fill(room, device_descriptor);
    case USB_DT_CONFIG:
        return fill(room, configuration_descriptor);
    case USB_DT_STRING:
        return fill_string(room, type_and_number & 0xFF);
    default:
        return {};
    }
}

std::optional<std::size_t> answer_standard(const control_request& request, std::span<std::uint8_t> data)
{
    constexpr std::array<std::uint8_t, 2> powered_by_the_bus{};
    switch (request.number) {
    case USB_REQ_GET_DESCRIPTOR:
        return fill_descriptor(data, request.value);
    case USB_REQ_GET_STATUS:
        return fill(data, powered_by_the_bus);
    case USB_REQ_SET_CONFIGURATION:
    case USB_REQ_SET_INTERFACE:
        return 0;
    default:
        return {};
    }
}

/// The driver wants all bytes of a message, whether it was acknowledged or not; it asks for that later.
std::size_t answer_message(usb_adapter& adapter, const control_request& request, std::span<std::uint8_t> data)
{
    adapter.acknowledged = put_message(adapter.bus,
        {.address = request.index,
            .flags = request.value,
            .first = (request.number & first_message) != 0,
            .last = (request.number & last_message) != 0,
            .bytes = data});
    return data.size();
}

std::optional<std::size_t> answer_vendor(
    usb_adapter& adapter, const control_request& request, std::span<std::uint8_t> data)
{
    if ((request.number & ~(first_message | last_message)) == message_request)
        return answer_message(adapter, request, data);
    switch (request.number) {
    case echo_request:
        return fill(data, std::array{low(request.value), high(request.value)});
    case functions_request:
        return fill(
            data, std::array{low(functions), high(functions), low(functions >> 16), high(functions >> 16)});
    case delay_request: // of a clock that bits are banged with; ours is told by the command line
        return 0;
    case status_request:
        return fill(data, std::array{adapter.acknowledged ? status_acknowledged : status_not_acknowledged});
    default:
        return {};
    }
}

} // namespace

std::optional<std::size_t> answer_control(
    usb_adapter& adapter, const usb_setup& setup, std::span<std::uint8_t> data)
{
    const control_request request{.type = setup[0],
        .number = setup[1],
        .value = static_cast<std::uint16_t>(setup[3] << 8 | setup[2]),
        .index = static_cast<std::uint16_t>(setup[5] << 8 | setup[4])};
    switch (request.type & USB_TYPE_MASK) {
    case USB_TYPE_STANDARD:
        return answer_standard(request, data);
    case USB_TYPE_VENDOR:
        return answer_vendor(adapter, request, data);
    default:
        return {};
    }
}
