#include "protocol.h"

#include "slot_header.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr std::size_t block_size_max = 31;
static_assert(6 * block_size_max + 2 == packet_size, "a packet goes out in seven blocks");

/// All reads name this register in their message, whichever they read.
constexpr const char* unreadable_register = "can't read reg 0 on the EPLD2 !!!\n";

std::uint32_t refused = 0;

std::int32_t reported(std::int32_t result, const char* message)
{
    if (result < 0) {
        ++refused;
        std::fputs(message, stdout);
    }
    return result;
}

/// The byte at an address of the header table. Only the read decides: the message of a failed
/// pointer write has to do.
std::int32_t read_header_byte(int fd, std::uint32_t address)
{
    send_i2c_offset(fd, address);
    return reported(bus_read_byte(fd, data_register), unreadable_register);
}

void print_bytes(std::span<const std::uint8_t> bytes, std::uint32_t first_index)
{
    for (const std::uint8_t byte : bytes)
        std::printf("data[%u] = 0x%x!!!!!!!\n", first_index++, static_cast<unsigned>(byte));
}

slot_header_bytes encode_header(std::uint8_t generation, const slot_header& header)
{
    if (is_new_generation(generation))
        return encode_packed_header(header);
    if (header.size % packet_size != 0)
        std::fprintf(stderr, "send_i2c_header : suspicious table size (%u) for EPLD version %u\n",
            header.size, static_cast<unsigned>(generation));
    return encode_whole_packet_header(header);
}

} // namespace

std::uint32_t refused_requests()
{
    return refused;
}

std::int32_t remove_tables(int fd)
{
    return reported(bus_write_byte(fd, command_register, delete_tables_command), "can't delete tables !!!\n");
}

std::int32_t send_i2c_insert(int fd, std::uint8_t on)
{
    const std::int32_t control = reported(bus_read_byte(fd, control_register), unreadable_register);
    if (control < 0)
        return control;
    const auto others = static_cast<std::uint32_t>(control) & ~std::uint32_t{insertion_bit};
    const auto wanted = static_cast<std::uint8_t>(others | (on != 0 ? insertion_bit : 0U));
    return reported(
        bus_write_byte(fd, control_register, wanted), "can't change insertion state of the tables !!!\n");
}

std::int32_t send_i2c_offset(int fd, std::uint32_t address)
{
    return reported(bus_write_word(fd, address_register, static_cast<std::uint16_t>(address)),
        "send_i2c_offset : error !!!\n");
}

std::int32_t send_i2c_byte(int fd, std::uint8_t value)
{
    return reported(bus_write_block(fd, data_register, {&value, 1}), "send_i2c_byte : error !!!\n");
}

std::int32_t send_i2c_word(int fd, std::uint32_t value)
{
    const std::array bytes{static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    return reported(bus_write_block(fd, data_register, bytes), "send_i2c_word : error !!!\n");
}

std::int32_t send_i2c_header(
    int fd, std::uint8_t generation, std::uint8_t type, std::uint32_t address, std::uint32_t size)
{
    const auto bytes = encode_header(generation, {.type = type, .address = address, .size = size});
    return reported(bus_write_block(fd, data_register, bytes), "send_i2c_header : error !!!\n");
}

std::int32_t send_i2c_data(int fd, std::span<const std::uint8_t, packet_size> packet)
{
    for (std::span<const std::uint8_t> left = packet; !left.empty();) {
        const auto block = left.first(std::min(left.size(), block_size_max));
        if (bus_write_block(fd, data_register, block) < 0)
            return reported(request_failed, "send_i2c_data : error !!");
        left = left.subspan(block.size());
    }
    return 0;
}

std::int32_t read_bytes_bram(int fd, std::uint32_t count)
{
    std::array<std::uint8_t, block_size_max> buffer{};
    std::uint32_t index = 0;
    do {
        const std::size_t wanted = std::min<std::size_t>(count - index, block_size_max);
        const std::int32_t returned = bus_read_block(fd, data_register, std::span(buffer).first(wanted));
        if (returned < 0 || (returned == 0 && wanted != 0))
            return reported(request_failed, "read_bytes_bram : I2C read failed !!");
        print_bytes(std::span(buffer).first(static_cast<std::size_t>(returned)), index);
        index += static_cast<std::uint32_t>(returned);
    } while (index < count);
    return 0;
}

std::int32_t is_slot_busy(int fd, std::uint32_t header_address)
{
    const std::int32_t type = read_header_byte(fd, header_address);
    return type < 0 ? type : type & slot_busy_bit;
}

std::int32_t is_slot_acknowledged(int fd, std::uint32_t header_address)
{
    const std::int32_t type = read_header_byte(fd, header_address);
    if (type < 0)
        return type;
    return (type & slot_busy_bit) == 0 ? 1 : type & slot_acknowledged_bit;
}

std::int32_t read_continuity_counter(int fd, std::uint32_t header_address)
{
    const std::int32_t last_byte = read_header_byte(fd, header_address + 3);
    return last_byte < 0 ? last_byte : last_byte & 0x0F;
}
