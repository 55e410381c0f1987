#include "subtitle_reader.h"

#include <utility>

namespace {

struct bit_reader {
    std::span<const std::uint8_t> bytes;
    std::size_t position = 0;
    bool exhausted = false;
};

std::uint32_t take(bit_reader& in, std::size_t count)
{
    std::uint32_t value = 0;
    for (; count > 0; --count, ++in.position) {
        in.exhausted = in.exhausted || in.position / 8 >= in.bytes.size();
        const unsigned byte = in.exhausted ? 0U : in.bytes[in.position / 8];
        value = value << 1 | (byte >> (7 - in.position % 8) & 1U);
    }
    return value;
}

/// No pixels: the end of the string.
struct run {
    std::uint32_t length = 0;
    std::uint32_t colour = 0;
};

run next_run_2bit(bit_reader& in)
{
    if (const std::uint32_t colour = take(in, 2); colour != 0)
        return {1, colour};
    if (take(in, 1) == 1) // switch_1
        return {3 + take(in, 3), take(in, 2)};
    if (take(in, 1) == 1) // switch_2
        return {1, 0};
    switch (take(in, 2)) { // switch_3
    case 1:
        return {2, 0};
    case 2:
        return {12 + take(in, 4), take(in, 2)};
    case 3:
        return {29 + take(in, 8), take(in, 2)};
    default:
        return {};
    }
}

run next_run_4bit(bit_reader& in)
{
    if (const std::uint32_t colour = take(in, 4); colour != 0)
        return {1, colour};
    if (take(in, 1) == 0) { // switch_1
        const std::uint32_t length = take(in, 3);
        return {length == 0 ? 0 : length + 2, 0};
    }
    if (take(in, 1) == 0) // switch_2
        return {4 + take(in, 2), take(in, 4)};
    switch (take(in, 2)) { // switch_3
    case 0:
        return {1, 0};
    case 1:
        return {2, 0};
    case 2:
        return {9 + take(in, 4), take(in, 4)};
    default:
        return {25 + take(in, 8), take(in, 4)};
    }
}

run next_run_8bit(bit_reader& in)
{
    if (const std::uint32_t colour = take(in, 8); colour != 0)
        return {1, colour};
    const bool coloured = take(in, 1) == 1; // switch_1
    const std::uint32_t length = take(in, 7);
    return {length, coloured ? take(in, 8) : 0};
}

bool read_string(bit_reader& in, run (*next_run)(bit_reader&), pixel_line& line)
{
    for (run pixels = next_run(in); pixels.length != 0; pixels = next_run(in))
        line.insert(line.end(), pixels.length, static_cast<std::uint8_t>(pixels.colour));
    const bool zero_stuffed = take(in, (8 - in.position % 8) % 8) == 0;
    return zero_stuffed && !in.exhausted;
}

bool at_end(const bit_reader& in)
{
    return in.position / 8 >= in.bytes.size();
}

} // namespace

std::optional<std::vector<subtitling_segment>> read_segments(std::span<const std::uint8_t> field)
{
    bit_reader in{.bytes = field};
    if (take(in, 16) != 0x2000) // data_identifier, subtitle_stream_id
        return std::nullopt;
    std::vector<subtitling_segment> segments;
    while (take(in, 8) == 0x0F) {
        subtitling_segment found{.offset = in.position / 8 - 1};
        found.type = take(in, 8);
        found.page_id = take(in, 16);
        const std::size_t length = take(in, 16);
        if (in.exhausted || length > field.size() - in.position / 8)
            return std::nullopt;
        found.data = field.subspan(in.position / 8, length);
        in.position += 8 * length;
        segments.push_back(found);
    }
    const bool marked = !in.exhausted && field[in.position / 8 - 1] == 0xFF;
    return marked && at_end(in) ? std::optional(segments) : std::nullopt;
}

std::optional<std::vector<pixel_line>> read_pixel_data(std::span<const std::uint8_t> bytes)
{
    std::vector<pixel_line> lines;
    pixel_line line;
    bit_reader in{.bytes = bytes};
    bool line_open = false;
    while (!at_end(in)) {
        const std::uint32_t data_type = take(in, 8);
        line_open = data_type != 0xF0;
        bool valid = true;
        if (data_type == 0x10)
            valid = read_string(in, next_run_2bit, line);
        else if (data_type == 0x11)
            valid = read_string(in, next_run_4bit, line);
        else if (data_type == 0x12)
            valid = read_string(in, next_run_8bit, line);
        else if (data_type == 0xF0)
            lines.push_back(std::exchange(line, {}));
        else
            valid = false;
        if (!valid)
            return std::nullopt;
    }
    return line_open ? std::nullopt : std::optional(lines);
}

std::optional<object_data> read_object(std::span<const std::uint8_t> segment_data)
{
    bit_reader in{.bytes = segment_data};
    object_data object{.id = take(in, 16), .version = take(in, 4)};
    const bool coded_pixels = take(in, 4) == 0; // object_coding_method, non_modifying_colour_flag, reserved
    const std::size_t top_length = take(in, 16);
    const std::size_t bottom_length = take(in, 16);
    if (in.exhausted || !coded_pixels || segment_data.size() - 7 < top_length + bottom_length)
        return std::nullopt;
    const auto top = read_pixel_data(segment_data.subspan(7, top_length));
    const auto bottom = read_pixel_data(segment_data.subspan(7 + top_length, bottom_length));
    if (!top || !bottom)
        return std::nullopt;
    object.top = *top;
    object.bottom = *bottom;
    object.stuffing = segment_data.size() - 7 - top_length - bottom_length;
    return object;
}
