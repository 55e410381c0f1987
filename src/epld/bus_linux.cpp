#include "bus.h"

#include <algorithm>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr const char* bus_path = "/dev/i2c-0";
constexpr unsigned long device_address = 5;

/// One SMBus transfer. Its direction is I2C_SMBUS_READ or I2C_SMBUS_WRITE, its size one of the
/// I2C_SMBUS_..._DATA kinds. Returns 0 or `request_failed`.
std::int32_t request(
    int fd, std::uint8_t direction, std::uint8_t register_number, std::uint32_t size, i2c_smbus_data& data)
{
    i2c_smbus_ioctl_data arguments{
        .read_write = direction, .command = register_number, .size = size, .data = &data};
    return ioctl(fd, I2C_SMBUS, &arguments) < 0 ? request_failed : 0;
}

} // namespace

int bus_open()
{
    return open(bus_path, O_RDWR);
}

int bus_bind(int fd)
{
    return ioctl(fd, I2C_SLAVE, device_address);
}

void bus_close(int fd)
{
    close(fd);
}

std::int32_t bus_read_byte(int fd, std::uint8_t register_number)
{
    i2c_smbus_data data{};
    const std::int32_t result = request(fd, I2C_SMBUS_READ, register_number, I2C_SMBUS_BYTE_DATA, data);
    return result < 0 ? result : data.byte;
}

std::int32_t bus_write_byte(int fd, std::uint8_t register_number, std::uint8_t value)
{
    i2c_smbus_data data{.byte = value};
    return request(fd, I2C_SMBUS_WRITE, register_number, I2C_SMBUS_BYTE_DATA, data);
}

std::int32_t bus_write_word(int fd, std::uint8_t register_number, std::uint16_t value)
{
    i2c_smbus_data data{.word = value};
    return request(fd, I2C_SMBUS_WRITE, register_number, I2C_SMBUS_WORD_DATA, data);
}

std::int32_t bus_write_block(int fd, std::uint8_t register_number, std::span<const std::uint8_t> bytes)
{
    // The first byte of the block is the count; it does not go out on the wire.
    i2c_smbus_data data{};
    const std::size_t count = std::min<std::size_t>(bytes.size(), I2C_SMBUS_BLOCK_MAX);
    data.block[0] = static_cast<std::uint8_t>(count);
    std::copy_n(bytes.begin(), count, data.block + 1);
    return request(fd, I2C_SMBUS_WRITE, register_number, I2C_SMBUS_I2C_BLOCK_DATA, data);
}

std::int32_t bus_read_block(int fd, std::uint8_t register_number, std::span<std::uint8_t> bytes)
{
    i2c_smbus_data data{};
    const std::size_t wanted = std::min<std::size_t>(bytes.size(), I2C_SMBUS_BLOCK_MAX);
    data.block[0] = static_cast<std::uint8_t>(wanted);
    if (request(fd, I2C_SMBUS_READ, register_number, I2C_SMBUS_I2C_BLOCK_DATA, data) < 0)
        return request_failed;
    const std::size_t returned = std::min<std::size_t>(data.block[0], wanted);
    std::copy_n(data.block + 1, returned, bytes.begin());
    return static_cast<std::int32_t>(returned);
}

void bus_pause(std::uint32_t pause_us)
{
    usleep(pause_us);
}
