#include "usbip.h"

#include <algorithm>
#include <cerrno>
#include <linux/usbip.h>
#include <sstream>

namespace {

// Commands and answers, and where the fields lie in a header. All numbers have the order of the network.
constexpr std::uint32_t submit_command = 1;
constexpr std::uint32_t unlink_command = 2;
constexpr std::uint32_t submit_return = 3;
constexpr std::uint32_t unlink_return = 4;

constexpr std::size_t code_at = 0;
constexpr std::size_t sequence_number_at = 4;
constexpr std::size_t direction_at = 12;
constexpr std::size_t endpoint_at = 16;
constexpr std::size_t length_at = 24;
constexpr std::size_t setup_at = 40;
constexpr std::size_t status_at = 20;
constexpr std::size_t moved_at = 24;

std::uint32_t u32_at(const usbip_header& header, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | header[at + i];
    return value;
}

void put_u32(usbip_header& header, std::size_t at, std::uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        header[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

/// The fields of isochronous transfers stay 0, as the kernel's own server of devices leaves them.
usbip_header begin_answer(std::uint32_t code, const usbip_command& command)
{
    usbip_header header{};
    put_u32(header, code_at, code);
    put_u32(header, sequence_number_at, command.sequence_number);
    return header;
}

usbip_command::kind kind_of(std::uint32_t code)
{
    if (code == submit_command)
        return usbip_command::kind::submit;
    return code == unlink_command ? usbip_command::kind::unlink : usbip_command::kind::unknown;
}

} // namespace

usbip_command parse_command(const usbip_header& header)
{
    usbip_command command{
        .what = kind_of(u32_at(header, code_at)), .sequence_number = u32_at(header, sequence_number_at)};
    if (command.what != usbip_command::kind::submit)
        return command;
    command.to_host = u32_at(header, direction_at) != 0;
    command.endpoint = u32_at(header, endpoint_at);
    command.length = u32_at(header, length_at);
    std::copy_n(header.begin() + setup_at, command.setup.size(), command.setup.begin());
    return command;
}

usbip_header submit_answer(const usbip_command& command, std::optional<std::size_t> moved)
{
    usbip_header header = begin_answer(submit_return, command);
    put_u32(header, status_at, moved.has_value() ? 0 : static_cast<std::uint32_t>(-EPIPE));
    put_u32(header, moved_at, static_cast<std::uint32_t>(moved.value_or(0)));
    return header;
}

usbip_header unlink_answer(const usbip_command& command)
{
    return begin_answer(unlink_return, command);
}

std::vector<usbip_port> parse_ports(const std::string& status)
{
    std::vector<usbip_port> ports;
    std::istringstream lines(status);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string hub;
        std::string speed;
        std::string device_number;
        std::string socket;
        unsigned state = 0;
        usbip_port port;
        if (fields >> hub >> port.number >> state >> speed >> device_number >> socket >> port.device
            && hub == "hs") {
            port.is_free = state == VDEV_ST_NULL;
            ports.push_back(port);
        }
    }
    return ports;
}
