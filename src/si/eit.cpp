#include "eit.h"

#include "section.h"
#include "settings.h"
#include "utc.h"

#include <array>

namespace {

constexpr std::uint32_t eit_table_id = 0x4E;

constexpr std::uint32_t short_event_descriptor = 0x4D;
constexpr std::uint32_t component_descriptor = 0x50;
constexpr std::uint32_t content_descriptor = 0x54;

constexpr std::uint32_t event_id = 11;
constexpr std::array<std::uint8_t, 3> twenty_minutes = {0x00, 0x20, 0x00};
constexpr std::string_view french = "fre";

// EN 300 468, 6.2.8: stream_content behind four reserved ones, and the component types in it.
constexpr std::uint32_t mpeg2_video = 0xF1;
constexpr std::uint32_t mpeg1_audio = 0xF2;
constexpr std::uint32_t hd_16_9_25_hz = 0x0B;
constexpr std::uint32_t hd_16_9_30_hz = 0x0F;
constexpr std::uint32_t stereo = 0x03;

// Component tags of the streams.
constexpr std::uint32_t mpeg2_video_tag = 0x01;
constexpr std::uint32_t audio_tag = 0x02;
constexpr std::uint32_t h264_video_tag = 0x05;

constexpr std::uint32_t news_and_current_affairs = 0x20; // content nibbles 2 and 0
constexpr std::uint32_t content_user_byte = 0x20;

struct component {
    std::uint32_t stream_content = 0;
    std::uint32_t type = 0;
    std::uint32_t tag = 0;
    std::string_view text{};
};

void put_component(byte_cursor& section, const component& part)
{
    const length_field descriptor = begin_descriptor(section, component_descriptor);
    put_u8(section, part.stream_content);
    put_u8(section, part.type);
    put_u8(section, part.tag);
    put_text(section, french);
    put_text(section, part.text);
    end_length(section, descriptor);
}

void put_components(byte_cursor& section, const present_event& event)
{
    const bool at_25_hz = event.frames_per_second == 25 || event.frames_per_second == 50;
    put_component(section,
        {.stream_content = mpeg2_video,
            .type = at_25_hz ? hd_16_9_25_hz : hd_16_9_30_hz,
            .tag = event.h264 ? h264_video_tag : mpeg2_video_tag});
    put_component(
        section, {.stream_content = mpeg1_audio, .type = stereo, .tag = audio_tag, .text = "Stereo"});
}

void put_content(byte_cursor& section)
{
    const length_field descriptor = begin_descriptor(section, content_descriptor);
    put_u8(section, news_and_current_affairs);
    put_u8(section, content_user_byte);
    end_length(section, descriptor);
}

void put_short_event(byte_cursor& section)
{
    const length_field descriptor = begin_descriptor(section, short_event_descriptor);
    put_text(section, french);
    put_counted_text(section, ""); // event_name
    put_counted_text(section, ""); // text
    end_length(section, descriptor);
}

void put_event(byte_cursor& section, const present_event& event)
{
    put_u16(section, event_id);
    put_bytes(section, utc_field(event.start_utc));
    put_bytes(section, twenty_minutes);
    const length_field descriptors = begin_loop(section, loop_flags::running);
    put_components(section, event);
    put_content(section);
    put_short_event(section);
    end_length(section, descriptors);
}

} // namespace

std::int32_t write_eit(std::span<std::uint8_t> out, const present_event& event)
{
    byte_cursor section{.bytes = out};
    begin_long_section(
        section, {.table_id = eit_table_id, .table_id_extension = event.service_id, .version = 11});
    put_u16(section, event.transport_stream_id);
    put_u16(section, event.original_network_id);
    put_u8(section, 0);            // segment_last_section_number
    put_u8(section, eit_table_id); // last_table_id
    put_event(section, event);
    return end_section_with_crc(section);
}

std::int32_t create_eit_table(dvb_table& table)
{
    return write_eit(table.data,
        {.service_id = u16_setting(service_id_setting),
            .transport_stream_id = u16_setting(ts_id_setting),
            .original_network_id = u16_setting(network_id_setting),
            .start_utc = utc_now(),
            .frames_per_second = number_setting("PREF_SYSTEM_ENCODER_1_VIDEO_FRAMERATE"),
            .h264 = setting_equals("PREF_SYSTEM_ENCODER_1_VIDEO_CODEC", "H264")});
}
