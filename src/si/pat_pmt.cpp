#include "pat_pmt.h"

#include "pids.h"
#include "section.h"
#include "settings.h"

namespace {

constexpr std::uint32_t pat_table_id = 0x00;
constexpr std::uint32_t pmt_table_id = 0x02;
constexpr std::uint32_t subtitling_descriptor = 0x59;

constexpr std::uint32_t h264_video = 0x1B;
constexpr std::uint32_t private_pes_data = 0x06;
constexpr std::uint32_t normal_subtitles = 0x10; // no monitor aspect ratio criticality
constexpr std::uint32_t subtitle_page_id = 1;    // the page_id of every display set

length_field begin_stream(byte_cursor& section, std::uint32_t stream_type, std::uint32_t pid)
{
    put_u8(section, stream_type);
    put_pid(section, pid);
    return begin_loop(section);
}

void put_plain_stream(byte_cursor& section, std::uint32_t stream_type, std::uint32_t pid)
{
    end_length(section, begin_stream(section, stream_type, pid));
}

void put_subtitle_stream(byte_cursor& section, std::uint32_t pid)
{
    const length_field es_info = begin_stream(section, private_pes_data, pid);
    const length_field descriptor = begin_descriptor(section, subtitling_descriptor);
    put_text(section, "fra");
    put_u8(section, normal_subtitles);
    put_u16(section, subtitle_page_id); // composition_page_id
    put_u16(section, subtitle_page_id); // ancillary_page_id
    end_length(section, descriptor);
    end_length(section, es_info);
}

} // namespace

std::int32_t write_pat(std::span<std::uint8_t> out, const program_association& programs)
{
    byte_cursor section{.bytes = out};
    begin_long_section(section,
        {.table_id = pat_table_id,
            .kind = section_kind::program,
            .table_id_extension = programs.transport_stream_id,
            .version = 1});
    put_u16(section, 0); // program_number 0 stands for the network
    put_pid(section, pids::nit);
    for (std::uint32_t i = 0; i < programs.program_count; ++i) {
        put_u16(section, programs.first_program_number + i);
        put_pid(section, pids::first_pmt + i);
    }
    return end_section_with_crc(section);
}

std::int32_t write_pmt(std::span<std::uint8_t> out, const program_streams& program)
{
    byte_cursor section{.bytes = out};
    begin_long_section(section,
        {.table_id = pmt_table_id,
            .kind = section_kind::program,
            .table_id_extension = static_cast<std::uint32_t>(program.program_number),
            .version = 16});
    put_pid(section, pids::pcr);
    end_length(section, begin_loop(section)); // no program descriptors
    put_plain_stream(section, h264_video, pids::video);
    if (program.audio_pid != 0)
        put_plain_stream(section, program.audio_stream_type, static_cast<std::uint32_t>(program.audio_pid));
    if (program.subtitle_pid != 0)
        put_subtitle_stream(section, static_cast<std::uint32_t>(program.subtitle_pid));
    return end_section_with_crc(section);
}

std::int32_t create_pat_table(
    dvb_table& table, std::uint32_t first_program_number, std::uint32_t program_count)
{
    return write_pat(table.data,
        {.transport_stream_id = u16_setting(ts_id_setting),
            .first_program_number = first_program_number,
            .program_count = program_count});
}

std::int32_t create_pmt_table(dvb_table& table, std::int32_t program_number, std::int32_t audio_pid,
    std::uint8_t audio_stream_type, std::int32_t subtitle_pid)
{
    return write_pmt(table.data,
        {.program_number = program_number,
            .audio_pid = audio_pid,
            .audio_stream_type = audio_stream_type,
            .subtitle_pid = subtitle_pid});
}
