#pragma once

#include "usb_adapter.h"

#include <string>

/// What the kernel's virtual USB host controller (vhci_hcd) sends to a device over a socket, and what it is
/// answered (Documentation/usb/usbip_protocol.rst), and what its status file says.

inline constexpr std::size_t usbip_header_size = 48;
using usbip_header = std::array<std::uint8_t, usbip_header_size>;

struct usbip_command {
    enum class kind : std::uint8_t { submit, unlink, unknown };
    kind what = kind::unknown;
    std::uint32_t sequence_number = 0;
    std::uint32_t endpoint = 0;
    bool to_host = false;     ///< the direction of the data
    std::uint32_t length = 0; ///< bytes of data; to the device they follow the header
    usb_setup setup{};

    bool operator==(const usbip_command&) const = default;
};

usbip_command parse_command(const usbip_header& header);

/// The answer to a submitted transfer: so many bytes were moved, or nothing: the endpoint stalls. To the host
/// the bytes follow the header.
usbip_header submit_answer(const usbip_command& command, std::optional<std::size_t> moved);

/// The answer to the wish to take a transfer back: it has been answered before, as all are in their order.
usbip_header unlink_answer(const usbip_command& command);

/// A port of the controller, as a line of its status file tells it.
struct usbip_port {
    unsigned number = 0;
    bool is_free = false;
    std::string device; ///< the name that the kernel has given to what is plugged in, such as "1-1"
};

/// The ports for devices up to high speed that the text of the controller's status file lists.
std::vector<usbip_port> parse_ports(const std::string& status);
