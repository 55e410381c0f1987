#include "pixel_lines.h"

#include "runs.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <span>

namespace {

constexpr std::uint32_t end_of_object_line_code = 0xF0;

/// Bits in a row, the first of them the most significant.
struct bit_string {
    std::uint32_t bits = 0;
    std::int32_t count = 0;
};

/// `value` has no more than `count` bits.
constexpr void append(bit_string& string, std::int32_t count, std::uint32_t value)
{
    string.bits = string.bits << count | value;
    string.count += count;
}

/// Pixels of one colour, one after the other. `coloured` is false for colour 0, which has codes of its
/// own.
struct pixel_run {
    std::uint32_t length = 0;
    bool coloured = false;
    std::uint32_t colour = 0;
};

/// A code for runs from `shortest` on: the prefix, the length less `shortest`, then the colour.
struct run_code {
    std::uint32_t shortest = 0;
    std::int32_t prefix_bits = 0;
    std::uint32_t prefix = 0;
    std::int32_t length_bits = 0;
};

// Longest first: the first code whose shortest run is not longer than the run is the one.
constexpr run_code run_codes_2bit[] = {{29, 6, 0b000011, 8}, {12, 6, 0b000010, 4}, {3, 3, 0b001, 3}};
constexpr run_code run_codes_4bit[] = {{25, 8, 0b0000'1111, 8}, {9, 8, 0b0000'1110, 4}, {4, 6, 0b0000'10, 2}};

constexpr void append_long_run(
    bit_string& string, std::span<const run_code> codes, const pixel_run& run, std::int32_t colour_bits)
{
    for (const auto& [shortest, prefix_bits, prefix, length_bits] : codes) {
        if (run.length < shortest)
            continue;
        append(string, prefix_bits, prefix);
        append(string, length_bits, run.length - shortest);
        append(string, colour_bits, run.colour);
        return;
    }
}

constexpr bit_string run_2bit(pixel_run run)
{
    bit_string string;
    // No code has these lengths: a single pixel goes first.
    if (run.length == 1 || run.length == 11 || run.length == 28) {
        append(string, run.coloured ? 2 : 4, run.coloured ? run.colour : 0b0001);
        --run.length;
    }
    if (run.length == 2)
        append(string, run.coloured ? 4 : 6, run.coloured ? run.colour * 0b0101 : 0b000001);
    else
        append_long_run(string, run_codes_2bit, run, 2);
    return string;
}

constexpr bit_string run_4bit(pixel_run run)
{
    bit_string string;
    // No code has these lengths in these colours (8 of colour 0 has one, but goes like the others).
    if (run.length == 1 || (run.length == 3 && run.coloured) || run.length == 8) {
        append(string, run.coloured ? 4 : 8, run.coloured ? run.colour : 0b0000'1100);
        --run.length;
    }
    if (run.length == 2)
        append(string, 8, run.coloured ? run.colour * 0b0001'0001 : 0b0000'1101);
    else if (!run.coloured && run.length >= 3 && run.length <= 9)
        append(string, 8, run.length - 2);
    else
        append_long_run(string, run_codes_4bit, run, 4);
    return string;
}

constexpr bit_string run_8bit(pixel_run run)
{
    bit_string string;
    if (run.coloured && run.length <= 2) {
        for (; run.length > 0; --run.length)
            append(string, 8, run.colour);
        return string;
    }
    append(string, 8, 0);
    append(string, 1, run.coloured ? 1 : 0);
    append(string, 7, run.length);
    if (run.coloured)
        append(string, 8, run.colour);
    return string;
}

/// The bits of a run of one length: in colour 0, and in the others with zeros for the colour, wherever it
/// stands in them. Colour c puts c times `colour_places` there.
struct run_entry {
    bit_string colourless{};
    bit_string coloured{};
    std::uint32_t colour_places = 0;
};

/// By length.
template <std::size_t longest> using run_table = std::array<run_entry, longest + 1>;

template <std::size_t longest> consteval run_table<longest> tabulate(bit_string (*string_of)(pixel_run))
{
    run_table<longest> table{};
    for (std::uint32_t length = 1; length <= longest; ++length) {
        const bit_string zeros = string_of({.length = length, .coloured = true, .colour = 0});
        const bit_string ones = string_of({.length = length, .coloured = true, .colour = 1});
        table[length] = {.colourless = string_of({.length = length}),
            .coloured = zeros,
            .colour_places = ones.bits - zeros.bits};
    }
    return table;
}

constexpr auto runs_2bit = tabulate<284>(run_2bit);
constexpr auto runs_4bit = tabulate<280>(run_4bit);
constexpr auto runs_8bit = tabulate<127>(run_8bit);

/// How the lines of one depth are coded.
struct code_string {
    std::span<const run_entry> runs;
    std::uint32_t colour_mask = 0;
    std::int32_t end_code_bits = 0; ///< all of them zero
};

constexpr code_string code_string_2bit{.runs = runs_2bit, .colour_mask = 0b11, .end_code_bits = 6};
constexpr code_string code_string_4bit{.runs = runs_4bit, .colour_mask = 0xF, .end_code_bits = 8};
constexpr code_string code_string_8bit{.runs = runs_8bit, .colour_mask = 0xFF, .end_code_bits = 16};

/// Gathers the bits of a line, most of them before they become bytes. It takes a `bit_writer` over at
/// the front of a line and gives it back at the end.
struct line_writer {
    std::uint8_t* current = nullptr;
    std::uint8_t* end = nullptr;
    std::uint64_t bits = 0;
    std::int32_t count = 0; ///< below 32 of them are not yet written
};

line_writer begin_line(const bit_writer& out)
{
    const std::int32_t begun = 8 - out.bits_left;
    const std::uint64_t bits = begun == 0 ? 0 : *out.current >> out.bits_left;
    return {.current = out.current, .end = out.end, .bits = bits, .count = begun};
}

/// What does not fit is dropped.
void write_bytes(line_writer& line, std::int32_t bytes)
{
    for (; bytes > 0; --bytes) {
        line.count -= 8;
        if (line.current != line.end)
            *line.current++ = static_cast<std::uint8_t>(line.bits >> line.count);
    }
}

void put(line_writer& line, std::int32_t count, std::uint32_t bits)
{
    line.bits = line.bits << count | bits;
    line.count += count;
    if (line.count >= 32)
        write_bytes(line, 4);
}

void end_line(line_writer& line, bit_writer& out)
{
    put(line, -line.count & 7, 0);
    write_bytes(line, line.count / 8);
    out.current = line.current;
    out.bits_left = 8;
}

/// Pixels at the front that have the same index, at most `longest`.
inline std::size_t run_length(std::span<const std::uint8_t> pixels, std::size_t longest)
{
    if (pixels.size() == 1 || pixels[0] != pixels[1]) // where errors were diffused, the most of all
        return 1;
    const auto count = static_cast<std::ptrdiff_t>(pixels.size());
    return std::min(static_cast<std::size_t>(equal_run(pixels.data(), count)), longest);
}

template <const code_string& code> void put_run(line_writer& line, std::uint8_t colour, std::size_t length)
{
    const auto& [colourless, coloured, colour_places] = code.runs[length];
    if (colour == 0)
        put(line, colourless.count, colourless.bits);
    else
        put(line, coloured.count, coloured.bits + (colour & code.colour_mask) * colour_places);
}

/// A line of no pixels is its end code alone.
template <const code_string& code>
void write_line(bit_writer& out, const subpicture_region& region, std::uint32_t number)
{
    const plane& indices = region.picture->planes[0];
    std::span<const std::uint8_t> pixels(
        indices.pixels + static_cast<std::ptrdiff_t>(number) * indices.pitch, region.width);
    line_writer line = begin_line(out);
    while (!pixels.empty()) {
        const std::size_t length = run_length(pixels, code.runs.size() - 1);
        put_run<code>(line, pixels[0], length);
        pixels = pixels.subspan(length);
    }
    put(line, code.end_code_bits, 0);
    end_line(line, out);
}

struct sub_block {
    std::int32_t entry_count = 0;
    std::uint32_t data_type = 0;
    void (*encode_line)(bit_writer&, const subpicture_region&, std::uint32_t) = nullptr;
};

constexpr sub_block sub_blocks[] = {
    {.entry_count = 4, .data_type = 0x10, .encode_line = encode_pixel_line_2bp},
    {.entry_count = 16, .data_type = 0x11, .encode_line = encode_pixel_line_4bp},
    {.entry_count = 256, .data_type = 0x12, .encode_line = encode_pixel_line_8bp},
};

void write_sub_block(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    const std::int32_t wanted = region.palette->entry_count;
    for (const auto& [entry_count, data_type, encode_line] : sub_blocks) {
        if (entry_count == wanted) {
            bs_write(out, 8, data_type);
            encode_line(out, region, line);
            return;
        }
    }
    if (wanted != 0)
        std::fprintf(stderr, "subpicture palette (%i) not handled\n", wanted);
}

} // namespace

void encode_pixel_data(bit_writer& out, const subpicture_region& region, std::uint8_t top)
{
    if (region.chroma != chroma_yuvp || region.palette == nullptr)
        return;
    std::uint32_t line = top != 0 ? 0 : 1;
    for (; line < region.height && out.current != out.end; line += region.picture->field_count) {
        write_sub_block(out, region, line);
        bs_write(out, 8, end_of_object_line_code);
    }
}

void encode_pixel_line_2bp(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    write_line<code_string_2bit>(out, region, line);
}

void encode_pixel_line_4bp(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    write_line<code_string_4bit>(out, region, line);
}

void encode_pixel_line_8bp(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    write_line<code_string_8bit>(out, region, line);
}
