#include "tdt_tot.h"

#include "section.h"
#include "utc.h"

#include <array>

namespace {

constexpr std::uint32_t tdt_table_id = 0x70;
constexpr std::uint32_t tot_table_id = 0x73;
constexpr std::uint32_t local_time_offset_descriptor = 0x58;

constexpr std::uint32_t whole_country_ahead_of_utc = 0x02; // region 0, reserved 1, polarity 0

// Two BCD digits of hours, two of minutes: by the standard these are one and two minutes, not hours.
constexpr std::uint32_t local_time_offset = 0x0001;
constexpr std::uint32_t next_time_offset = 0x0002;
constexpr std::array<std::uint8_t, 5> time_of_change = {0xD8, 0xCC, 0x01, 0x00, 0x00}; // 2010-10-31 01:00:00

void put_local_time_offset(byte_cursor& section)
{
    const length_field descriptor = begin_descriptor(section, local_time_offset_descriptor);
    put_text(section, "FRA");
    put_u8(section, whole_country_ahead_of_utc);
    put_u16(section, local_time_offset);
    put_bytes(section, time_of_change);
    put_u16(section, next_time_offset);
    end_length(section, descriptor);
}

} // namespace

std::int32_t write_tdt(std::span<std::uint8_t> out, const std::tm& utc)
{
    byte_cursor section{.bytes = out};
    begin_short_section(section, tdt_table_id);
    put_bytes(section, utc_field(utc));
    return end_section(section);
}

std::int32_t write_tot(std::span<std::uint8_t> out, const std::tm& utc)
{
    byte_cursor section{.bytes = out};
    begin_short_section(section, tot_table_id);
    put_bytes(section, utc_field(utc));
    const length_field descriptors = begin_loop(section);
    put_local_time_offset(section);
    end_length(section, descriptors);
    return end_section_with_crc(section);
}

std::int32_t create_tdt_table(dvb_table& table)
{
    return write_tdt(table.data, utc_now());
}

std::int32_t create_tot_table(dvb_table& table)
{
    return write_tot(table.data, utc_now());
}
