#include "bus_emulated.h"

#include "bus.h"

namespace {

constexpr int descriptor = 5;

struct {
    epld_model* device = nullptr;
    bool open = false;
} bus; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): there is one bus, as on the board

std::int32_t result_of(bool answered)
{
    return answered ? 0 : request_failed;
}

} // namespace

int attach(epld_model& device)
{
    bus = {.device = &device, .open = true};
    return descriptor;
}

bool device_is_open()
{
    return bus.open;
}

int bus_open()
{
    bus.open = true;
    return descriptor;
}

int bus_bind(int /*fd*/)
{
    return 0;
}

void bus_close(int /*fd*/)
{
    bus.open = false;
}

std::int32_t bus_read_byte(int /*fd*/, std::uint8_t register_number)
{
    std::uint8_t value = 0;
    return device_read_byte(*bus.device, register_number, value) ? value : request_failed;
}

std::int32_t bus_write_byte(int /*fd*/, std::uint8_t register_number, std::uint8_t value)
{
    return result_of(device_write_byte(*bus.device, register_number, value));
}

std::int32_t bus_write_word(int /*fd*/, std::uint8_t register_number, std::uint16_t value)
{
    return result_of(device_write_word(*bus.device, register_number, value));
}

std::int32_t bus_write_block(int /*fd*/, std::uint8_t register_number, std::span<const std::uint8_t> bytes)
{
    return result_of(device_write_block(*bus.device, register_number, bytes));
}

std::int32_t bus_read_block(int /*fd*/, std::uint8_t register_number, std::span<std::uint8_t> bytes)
{
    return device_read_block(*bus.device, register_number, bytes) ? static_cast<std::int32_t>(bytes.size())
                                                                  : request_failed;
}

void bus_pause(std::uint32_t pause_us)
{
    bus.device->now_us += pause_us;
    ts_packet packet{};
    while (send_packet(*bus.device, packet)) { }
}
