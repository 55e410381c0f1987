#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// Where the next byte goes. The bytes are borrowed. What does not fit is dropped, so that a section
/// grown too long comes out as long as `bytes`, more than the transfer accepts.
struct byte_cursor {
    std::span<std::uint8_t> bytes{};
    std::size_t used = 0;
};

/// Each writes the low bits of `value`, most significant byte first.
void put_u8(byte_cursor& out, std::uint32_t value);
void put_u16(byte_cursor& out, std::uint32_t value);
void put_u32(byte_cursor& out, std::uint32_t value);

/// Three reserved ones and the low 13 bits of `pid`.
void put_pid(byte_cursor& out, std::uint32_t pid);

void put_bytes(byte_cursor& out, std::span<const std::uint8_t> bytes);

/// The bytes of `text` as they are, without a terminator.
void put_text(byte_cursor& out, std::string_view text);

/// The same behind one byte with their number: `text` has at most 255 of them.
void put_counted_text(byte_cursor& out, std::string_view text);

/// A length that is still open: one byte, or the low 12 bits of two.
struct length_field {
    std::size_t at = 0;
    std::size_t size_bytes = 0;
};

/// Leaves room for a length of one byte.
[[nodiscard]] length_field begin_counted(byte_cursor& out);

/// Writes descriptor_tag and leaves room for descriptor_length.
[[nodiscard]] length_field begin_descriptor(byte_cursor& out, std::uint32_t tag);

/// What stands in the four bits above the length of a descriptor loop.
enum class loop_flags : std::uint32_t {
    reserved = 0xF000,
    running = 0x8000, ///< running_status 4, free_CA_mode 0 (EN 300 468, 5.2.3)
};

/// Leaves room for the 12-bit length of a loop.
[[nodiscard]] length_field begin_loop(byte_cursor& out, loop_flags flags = loop_flags::reserved);

/// Closes what one of the three has begun: the length now counts everything written behind the field.
void end_length(byte_cursor& out, length_field field);

/// The bits of a section around section_length, reserved ones included.
enum class section_kind : std::uint32_t {
    program = 0xB000, ///< long form of ISO/IEC 13818-1, with its 0 bit
    service = 0xF000, ///< long form of EN 300 468
    time = 0x7000,    ///< short form of EN 300 468
};

/// Starts a section of the short form at the front of the cursor's bytes.
void begin_short_section(byte_cursor& out, std::uint32_t table_id);

struct long_header {
    std::uint32_t table_id = 0;
    section_kind kind = section_kind::service;
    std::uint32_t table_id_extension = 0; ///< low 16 bits
    std::uint32_t version = 0;            ///< low 5 bits
};

/// Starts the only section of a table in the long form, current from now on.
void begin_long_section(byte_cursor& out, const long_header& header);

/// Closes a section: section_length now counts everything behind it. Returns the bytes written.
[[nodiscard]] std::int32_t end_section(byte_cursor& out);

/// The same for a section that closes with a CRC_32 over all its bytes, which is appended here.
[[nodiscard]] std::int32_t end_section_with_crc(byte_cursor& out);

/// CRC_32 of ISO/IEC 13818-1, Annex A, over `count` bytes: 0xFFFFFFFF when there are none or `count`
/// is negative, 0 over a whole section that ends in its own CRC_32. For the builders of this folder.
[[nodiscard]] std::uint32_t crc32(const std::uint8_t* bytes, std::int32_t count);
