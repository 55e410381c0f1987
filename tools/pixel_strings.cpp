#include "pixel_strings.h"

#include "bit_reader.h"
#include "formatted.h"

#include <utility>

namespace {

constexpr std::uint32_t end_of_object_line_code = 0xF0;

/// What one code of a string says.
struct run {
    std::uint32_t length = 0; ///< 0: end of string
    std::uint32_t colour = 0;
    bool known = true; ///< whether the standard gives the code a meaning
};

run run_of(std::uint32_t length, std::uint32_t colour)
{
    return {.length = length, .colour = colour};
}

/// A run whose length comes before its colour.
run coded_run(bit_reader& in, std::uint32_t shortest, std::size_t length_bits, std::size_t colour_bits)
{
    const std::uint32_t length = shortest + take(in, length_bits);
    return run_of(length, take(in, colour_bits));
}

run next_run_2bit(bit_reader& in)
{
    if (const std::uint32_t colour = take(in, 2); colour != 0)
        return run_of(1, colour);
    if (take(in, 1) == 1) // switch_1
        return coded_run(in, 3, 3, 2);
    if (take(in, 1) == 1) // switch_2
        return run_of(1, 0);
    switch (take(in, 2)) { // switch_3
    case 0b01:
        return run_of(2, 0);
    case 0b10:
        return coded_run(in, 12, 4, 2);
    case 0b11:
        return coded_run(in, 29, 8, 2);
    default:
        return {};
    }
}

run next_run_4bit(bit_reader& in)
{
    if (const std::uint32_t colour = take(in, 4); colour != 0)
        return run_of(1, colour);
    if (take(in, 1) == 0) { // switch_1
        const std::uint32_t length = take(in, 3);
        return length == 0 ? run{} : run_of(length + 2, 0);
    }
    if (take(in, 1) == 0) // switch_2
        return coded_run(in, 4, 2, 4);
    switch (take(in, 2)) { // switch_3
    case 0b00:
        return run_of(1, 0);
    case 0b01:
        return run_of(2, 0);
    case 0b10:
        return coded_run(in, 9, 4, 4);
    default:
        return coded_run(in, 25, 8, 4);
    }
}

run next_run_8bit(bit_reader& in)
{
    if (const std::uint32_t colour = take(in, 8); colour != 0)
        return run_of(1, colour);
    if (take(in, 1) == 0) // switch_1
        return run_of(take(in, 7), 0);
    run coloured = coded_run(in, 0, 7, 8);
    coloured.known = coloured.length >= 3;
    return coloured;
}

/// How the sub-blocks of one data_type are read.
struct code_string {
    std::uint32_t data_type = 0;
    std::uint32_t depth_bits = 0;
    run (*next_run)(bit_reader&) = nullptr;
};

constexpr code_string code_strings[] = {
    {.data_type = 0x10, .depth_bits = 2, .next_run = next_run_2bit},
    {.data_type = 0x11, .depth_bits = 4, .next_run = next_run_4bit},
    {.data_type = 0x12, .depth_bits = 8, .next_run = next_run_8bit},
};

const code_string* find_code_string(std::uint32_t data_type)
{
    for (const code_string& candidate : code_strings)
        if (candidate.data_type == data_type)
            return &candidate;
    return nullptr;
}

/// Takes the runs up to the end of the string and the zero bits up to the next byte. Returns what is
/// wrong with it.
std::string read_string(bit_reader& in, const code_string& code, pixel_row& row)
{
    for (run pixels = code.next_run(in); pixels.length != 0 || !pixels.known; pixels = code.next_run(in)) {
        if (!pixels.known)
            return "a run that its code cannot have";
        if (in.exhausted)
            break;
        row.insert(row.end(), pixels.length, static_cast<std::uint8_t>(pixels.colour));
    }
    const bool zero_stuffed = take(in, (8 - in.position % 8) % 8) == 0;
    if (in.exhausted)
        return "a pixel code string without its end";
    return zero_stuffed ? "" : "stuffing bits behind a pixel code string that are not zero";
}

std::string read_sub_block(bit_reader& in, std::uint32_t data_type, pixel_data& data, pixel_row& row)
{
    const code_string* const code = find_code_string(data_type);
    if (code == nullptr)
        return formatted("a sub-block of data_type 0x%02X", data_type);
    if (data.depth_bits != 0 && data.depth_bits != code->depth_bits)
        return "pixel code strings of different depths";
    data.depth_bits = code->depth_bits;
    return read_string(in, *code, row);
}

} // namespace

pixel_data read_pixel_data(std::span<const std::uint8_t> block)
{
    pixel_data data;
    pixel_row row;
    bool line_open = false;
    bit_reader in{.bytes = block};
    while (!at_end(in) && data.problem.empty()) {
        const std::uint32_t data_type = take(in, 8);
        line_open = data_type != end_of_object_line_code;
        if (line_open)
            data.problem = read_sub_block(in, data_type, data, row);
        else
            data.rows.push_back(std::exchange(row, {}));
    }
    if (line_open && data.problem.empty())
        data.problem = "a line without its end_of_object_line_code";
    return data;
}
