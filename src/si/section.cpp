#include "section.h"

#include <array>
#include <cstddef>

namespace {

constexpr std::uint32_t polynomial = 0x04C11DB7;
constexpr std::uint32_t initial_register = 0xFFFFFFFF;

consteval std::array<std::uint32_t, 256> make_crc_table()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t remainder = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder << 1) ^ ((remainder >> 31) != 0 ? polynomial : 0);
        table[byte] = remainder;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> crc_table = make_crc_table();
static_assert(crc_table[0] == 0 && crc_table[1] == polynomial);

/// Every section has it in the same place, right behind table_id.
constexpr length_field section_length{.at = 1, .size_bytes = 2};

void begin_section(byte_cursor& out, std::uint32_t table_id, section_kind kind)
{
    put_u8(out, table_id);
    put_u16(out, static_cast<std::uint32_t>(kind));
}

} // namespace

std::uint32_t crc32(const std::uint8_t* bytes, std::int32_t count)
{
    std::uint32_t crc = initial_register;
    for (std::int32_t i = 0; i < count; ++i)
        crc = crc_table[(crc >> 24) ^ bytes[i]] ^ (crc << 8);
    return crc;
}

void put_u8(byte_cursor& out, std::uint32_t value)
{
    if (out.used < out.bytes.size())
        out.bytes[out.used++] = static_cast<std::uint8_t>(value);
}

void put_u16(byte_cursor& out, std::uint32_t value)
{
    put_u8(out, value >> 8);
    put_u8(out, value);
}

void put_u32(byte_cursor& out, std::uint32_t value)
{
    put_u16(out, value >> 16);
    put_u16(out, value);
}

void put_pid(byte_cursor& out, std::uint32_t pid)
{
    put_u16(out, 0xE000U | (pid & 0x1FFFU));
}

void put_bytes(byte_cursor& out, std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes)
        put_u8(out, byte);
}

void put_text(byte_cursor& out, std::string_view text)
{
    for (const char character : text)
        put_u8(out, static_cast<std::uint8_t>(character));
}

void put_counted_text(byte_cursor& out, std::string_view text)
{
    put_u8(out, static_cast<std::uint32_t>(text.size()));
    put_text(out, text);
}

length_field begin_counted(byte_cursor& out)
{
    const length_field field{.at = out.used, .size_bytes = 1};
    put_u8(out, 0);
    return field;
}

length_field begin_descriptor(byte_cursor& out, std::uint32_t tag)
{
    put_u8(out, tag);
    return begin_counted(out);
}

length_field begin_loop(byte_cursor& out, loop_flags flags)
{
    const length_field field{.at = out.used, .size_bytes = 2};
    put_u16(out, static_cast<std::uint32_t>(flags));
    return field;
}

void end_length(byte_cursor& out, length_field field)
{
    const std::size_t content = field.at + field.size_bytes;
    if (content > out.used)
        return; // the field itself did not fit

    const std::size_t length = out.used - content;
    if (field.size_bytes == 2)
        out.bytes[field.at] |= static_cast<std::uint8_t>((length >> 8) & 0x0F);
    out.bytes[content - 1] = static_cast<std::uint8_t>(length);
}

void begin_short_section(byte_cursor& out, std::uint32_t table_id)
{
    begin_section(out, table_id, section_kind::time);
}

void begin_long_section(byte_cursor& out, const long_header& header)
{
    begin_section(out, header.table_id, header.kind);
    put_u16(out, header.table_id_extension);
    put_u8(out, 0xC1U | ((header.version & 0x1FU) << 1)); // current_next_indicator 1
    put_u8(out, 0);                                       // section_number
    put_u8(out, 0);                                       // last_section_number
}

std::int32_t end_section(byte_cursor& out)
{
    end_length(out, section_length);
    return static_cast<std::int32_t>(out.used);
}

std::int32_t end_section_with_crc(byte_cursor& out)
{
    // section_length counts the CRC_32, and the CRC_32 covers section_length.
    const std::size_t covered = out.used;
    put_u32(out, 0);
    const std::int32_t size = end_section(out);
    out.used = covered;
    put_u32(out, crc32(out.bytes.data(), static_cast<std::int32_t>(covered)));
    return size;
}
