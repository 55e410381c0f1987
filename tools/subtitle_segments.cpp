#include "subtitle_segments.h"

#include "bit_reader.h"
#include "formatted.h"

namespace {

constexpr std::uint32_t subtitle_data = 0x2000; ///< data_identifier, subtitle_stream_id
constexpr std::uint32_t sync_byte = 0x0F;
constexpr std::uint32_t end_of_pes_data_field_marker = 0xFF;
constexpr std::size_t object_header_size = 7;

/// The segment whose sync_byte has just been taken. Empty `problem` when it is whole.
std::string read_segment(bit_reader& in, subtitle_segment& found)
{
    found.offset = in.position / 8 - 1;
    found.type = take(in, 8);
    found.page_id = take(in, 16);
    const std::size_t length = take(in, 16);
    const std::size_t begin = in.position / 8;
    if (in.exhausted || length > in.bytes.size() - begin)
        return formatted("the segment at byte %zu goes beyond the end of the data", found.offset);
    found.data = in.bytes.subspan(begin, length);
    in.position += 8 * length;
    return "";
}

} // namespace

segment_list read_segments(std::span<const std::uint8_t> field)
{
    segment_list list;
    bit_reader in{.bytes = field};
    if (take(in, 16) != subtitle_data || in.exhausted) {
        list.problem = "the data do not begin as subtitles";
        return list;
    }
    std::uint32_t next = take(in, 8);
    for (; next == sync_byte && list.problem.empty(); next = take(in, 8)) {
        subtitle_segment found;
        list.problem = read_segment(in, found);
        if (list.problem.empty())
            list.segments.push_back(found);
    }
    if (!list.problem.empty())
        return list;
    if (in.exhausted || next != end_of_pes_data_field_marker)
        list.problem = formatted("neither a segment nor the end marker at byte %zu", in.position / 8 - 1);
    else if (!at_end(in))
        list.problem = "something behind the end marker";
    return list;
}

subtitle_object read_object(std::span<const std::uint8_t> segment_data)
{
    subtitle_object object;
    bit_reader in{.bytes = segment_data};
    object.id = take(in, 16);
    object.version = take(in, 4);
    const std::uint32_t coding_method = take(in, 2);
    take(in, 2); // non_modifying_colour_flag, reserved
    const std::size_t top_size = take(in, 16);
    const std::size_t bottom_size = take(in, 16);
    if (in.exhausted || segment_data.size() - object_header_size < top_size + bottom_size)
        object.problem = "its fields go beyond its end";
    else if (coding_method != 0)
        object.problem = formatted("coding method %u is not decoded", coding_method);
    if (!object.problem.empty())
        return object;

    object.top = read_pixel_data(segment_data.subspan(object_header_size, top_size));
    object.bottom = read_pixel_data(segment_data.subspan(object_header_size + top_size, bottom_size));
    object.bottom_repeats_top = bottom_size == 0;
    const auto stuffing = segment_data.subspan(object_header_size + top_size + bottom_size);
    object.stuffing_bytes = stuffing.size();
    if (!object.top.problem.empty())
        object.problem = "top field: " + object.top.problem;
    else if (!object.bottom.problem.empty())
        object.problem = "bottom field: " + object.bottom.problem;
    else if (stuffing.size() > 1 || (stuffing.size() == 1 && stuffing[0] != 0))
        object.problem = formatted("%zu bytes behind its fields", stuffing.size());
    return object;
}
