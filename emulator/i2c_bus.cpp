#include "i2c_bus.h"

#include <algorithm>
#include <linux/i2c.h>
#include <utility>

namespace {

constexpr std::uint8_t data_register = 32;
constexpr std::uint16_t known_flags = I2C_M_RD | I2C_M_DMA_SAFE; ///< the second is the kernel's own affair
constexpr std::size_t data_max = I2C_SMBUS_BLOCK_MAX;
constexpr std::int64_t least_time_ns = 1'000; ///< that a transfer takes on a bus that takes none

/// Byte and word data are written as blocks of one and two bytes are. Only the data port knows blocks.
request_kind kind_of_write(std::uint8_t register_number, std::size_t size)
{
    if (register_number == data_register || size > 2)
        return request_kind::write_block;
    return size == 2 ? request_kind::write_word : request_kind::write_byte;
}

bool transfer(i2c_bus& bus, const bus_transfer& wanted)
{
    emulation& run = bus.run;
    const std::int64_t began_ns = run.now_ns;
    const std::int64_t wire_ns = bus_time_ns(run, wanted.kind, wanted.bytes.size());
    run.bus_ns += wire_ns;
    advance(run, bus.encoder, began_ns + std::max(wire_ns, least_time_ns));
    if (bus.device_absent) {
        run.device.requests_until_fault = 0;
        ++run.refused_requests;
    } else {
        follow_sessions(bus.sessions, run, wanted);
    }
    return request_transfer(run, wanted, began_ns);
}

bool refuse(i2c_bus& bus, std::uint32_t register_number)
{
    if (!bus.device_absent)
        refuse_request(bus.run, violation_kind::unknown_transfer, register_number);
    return false;
}

bool write_message(i2c_bus& bus, const i2c_message& message)
{
    const std::uint8_t register_number = message.bytes[0];
    const auto data = message.bytes.subspan(1);
    if (data.empty() && !message.last) {
        bus.selected_register = register_number;
        return !bus.device_absent;
    }
    if (data.empty() || data.size() > data_max)
        return refuse(bus, register_number);
    return transfer(bus,
        {.kind = kind_of_write(register_number, data.size()),
            .register_number = register_number,
            .bytes = data});
}

bool read_message(i2c_bus& bus, const i2c_message& message)
{
    const auto register_number = std::exchange(bus.selected_register, {});
    if (!register_number.has_value() || message.bytes.size() > data_max)
        return refuse(bus, register_number.value_or(0));
    return transfer(bus,
        {.kind = message.bytes.size() == 1 ? request_kind::read_byte : request_kind::read_block,
            .register_number = *register_number,
            .bytes = message.bytes});
}

} // namespace

bool put_message(i2c_bus& bus, const i2c_message& message)
{
    if (message.first)
        bus.selected_register.reset();
    if (message.address != i2c_bus::device_address)
        return false;
    if ((message.flags & ~known_flags) != 0)
        return refuse(bus, 0);
    if (message.bytes.empty())
        return !bus.device_absent;
    return (message.flags & I2C_M_RD) != 0 ? read_message(bus, message) : write_message(bus, message);
}
