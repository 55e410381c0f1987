#include "bus_emulated.h"

#include "bus.h"

namespace {

constexpr int descriptor = 5;

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): there is one bus, as on the board
epld_model* attached = nullptr;

std::int32_t result_of(bool answered)
{
    return answered ? 0 : request_failed;
}

} // namespace

int attach(epld_model& device)
{
    attached = &device;
    return descriptor;
}

int bus_open()
{
    return descriptor;
}

int bus_bind(int /*fd*/)
{
    return 0;
}

void bus_close(int /*fd*/)
{
}

std::int32_t bus_read_byte(int /*fd*/, std::uint8_t register_number)
{
    std::uint8_t value = 0;
    return device_read_byte(*attached, register_number, value) ? value : request_failed;
}

std::int32_t bus_write_byte(int /*fd*/, std::uint8_t register_number, std::uint8_t value)
{
    return result_of(device_write_byte(*attached, register_number, value));
}

std::int32_t bus_write_word(int /*fd*/, std::uint8_t register_number, std::uint16_t value)
{
    return result_of(device_write_word(*attached, register_number, value));
}

std::int32_t bus_write_block(int /*fd*/, std::uint8_t register_number, std::span<const std::uint8_t> bytes)
{
    return result_of(device_write_block(*attached, register_number, bytes));
}

std::int32_t bus_read_block(int /*fd*/, std::uint8_t register_number, std::span<std::uint8_t> bytes)
{
    return device_read_block(*attached, register_number, bytes) ? static_cast<std::int32_t>(bytes.size())
                                                                : request_failed;
}

void bus_pause(std::uint32_t /*pause_us*/)
{
    ts_packet packet{};
    while (send_packet(*attached, packet)) { }
}
