// A daemon that does one thing wrong towards the device, chosen by its argument.

#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

int bus = -1;

void request(std::uint8_t direction, std::uint8_t number, std::uint32_t size, i2c_smbus_data& data)
{
    i2c_smbus_ioctl_data arguments{.read_write = direction, .command = number, .size = size, .data = &data};
    ioctl(bus, I2C_SMBUS, &arguments);
}

void write_byte(std::uint8_t number, std::uint8_t value)
{
    i2c_smbus_data data{.byte = value};
    request(I2C_SMBUS_WRITE, number, I2C_SMBUS_BYTE_DATA, data);
}

void write_at(std::uint16_t address, const std::vector<std::uint8_t>& bytes)
{
    i2c_smbus_data pointer{.word = address};
    request(I2C_SMBUS_WRITE, 11, I2C_SMBUS_WORD_DATA, pointer);
    for (const std::uint8_t byte : bytes) {
        i2c_smbus_data data{.block = {1, byte}};
        request(I2C_SMBUS_WRITE, 32, I2C_SMBUS_I2C_BLOCK_DATA, data);
    }
}

std::uint8_t control()
{
    i2c_smbus_data data{};
    request(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE_DATA, data);
    return data.byte;
}

/// Packets on PID 4368 of a PES packet with that many bytes behind its length field.
std::vector<std::uint8_t> pes_packets(int count, std::uint8_t length, std::uint8_t first_counter)
{
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < count; ++i) {
        std::vector<std::uint8_t> packet(188, 0);
        packet[0] = 0x47;
        packet[1] = i == 0 ? 0x51 : 0x11;
        packet[2] = 0x10;
        packet[3] = static_cast<std::uint8_t>(0x10 | ((first_counter + i) & 0x0F));
        if (i == 0) {
            packet[6] = 1;
            packet[7] = 0xBD;
            packet[9] = length;
        }
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
    return bytes;
}

/// Two stream slots of two packets at 64 and 448, and insertion on.
void start(bool delete_first, std::initializer_list<std::uint8_t> headers)
{
    if (delete_first)
        write_byte(2, 7);
    write_at(0, headers);
    write_byte(0, control() | 0x10);
}

void start()
{
    start(true, {0x82, 2, 0x20, 188, 0x82, 14, 0x20, 188, 0});
}

/// Loads stream slot 0 (at 64) or 1 (at 448) with one packet of that many bytes that count.
void load(int slot, const std::vector<std::uint8_t>& packet, std::uint8_t valid, std::uint8_t type)
{
    write_at(static_cast<std::uint16_t>(64 + slot * 384), packet);
    write_at(static_cast<std::uint16_t>(slot * 4 + 2), {0, valid});
    write_at(static_cast<std::uint16_t>(slot * 4), {type});
}

void misbehave(std::string_view fault)
{
    const auto packet = pes_packets(1, 14, 0); // twenty bytes of a PES packet, 24 of the packet
    if (fault == "nothing")
        return start(), load(0, packet, 24, 0x87);
    if (fault == "no delete")
        return start(false, {0});
    if (fault == "no end byte")
        return start(true, {0x82, 2, 0x20, 188});
    if (fault == "control bits")
        return write_byte(2, 7), write_byte(0, 0x10);
    if (fault == "overlap")
        return start(true, {0x82, 2, 0x20, 188, 0x82, 3, 0x20, 188, 0});
    if (fault == "bad type")
        return start(), load(0, packet, 24, 0x8F);
    if (fault == "type 0x83 at a beginning")
        return start(), load(0, packet, 24, 0x83);
    if (fault == "wrong length")
        return start(), load(0, packet, 23, 0x87), sleep(1), load(1, pes_packets(1, 14, 1), 24, 0x87), void();
    if (fault == "counter")
        return start(), load(0, packet, 24, 0x87), sleep(1), load(1, pes_packets(1, 14, 5), 24, 0x87), void();
    if (fault == "too early")
        return start(), load(0, packet, 24, 0x87), load(1, pes_packets(1, 14, 1), 24, 0x87),
               write_at(0, {0x82}), load(0, pes_packets(1, 14, 2), 24, 0x87);
    if (fault == "two bytes of a word")
        return write_at(6143, {1, 2});
    if (fault == "ioctl")
        return void(ioctl(bus, I2C_FUNCS, &bus));
    if (fault == "status")
        std::exit(3);
    if (fault == "signal")
        std::abort();
}

} // namespace

int main(int, char** arguments)
{
    const std::string_view fault = arguments[1];
    bus = open("/dev/i2c-0", O_RDWR);
    if (fault != "not bound")
        ioctl(bus, I2C_SLAVE, 5);
    else
        write_byte(2, 7);
    misbehave(fault);
    if (fault != "open bus")
        sleep(3600);
}
