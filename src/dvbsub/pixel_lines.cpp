#include "pixel_lines.h"

#include <cstddef>
#include <cstdio>
#include <span>

namespace {

constexpr std::uint32_t end_of_object_line_code = 0xF0;

/// Pixels of one colour, one after the other.
struct pixel_run {
    std::uint8_t colour = 0;
    std::uint32_t length = 0;
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

void write_long_run(
    bit_writer& out, std::span<const run_code> codes, const pixel_run& run, std::int32_t colour_bits)
{
    for (const auto& [shortest, prefix_bits, prefix, length_bits] : codes) {
        if (run.length < shortest)
            continue;
        bs_write(out, prefix_bits, prefix);
        bs_write(out, length_bits, run.length - shortest);
        bs_write(out, colour_bits, run.colour);
        return;
    }
}

void write_single_2bit(bit_writer& out, std::uint8_t colour)
{
    if (colour != 0)
        bs_write(out, 2, colour);
    else
        bs_write(out, 4, 0b0001);
}

void write_pair_2bit(bit_writer& out, std::uint8_t colour)
{
    if (colour != 0) {
        bs_write(out, 2, colour);
        bs_write(out, 2, colour);
    } else {
        bs_write(out, 6, 0b000001);
    }
}

void write_run_2bit(bit_writer& out, pixel_run run)
{
    // No code has these lengths: a single pixel goes first.
    if (run.length == 1 || run.length == 11 || run.length == 28) {
        write_single_2bit(out, run.colour);
        --run.length;
    }
    if (run.length == 2)
        write_pair_2bit(out, run.colour);
    else
        write_long_run(out, run_codes_2bit, run, 2);
}

void write_single_4bit(bit_writer& out, std::uint8_t colour)
{
    if (colour != 0)
        bs_write(out, 4, colour);
    else
        bs_write(out, 8, 0b0000'1100);
}

void write_pair_4bit(bit_writer& out, std::uint8_t colour)
{
    if (colour != 0) {
        bs_write(out, 4, colour);
        bs_write(out, 4, colour);
    } else {
        bs_write(out, 8, 0b0000'1101);
    }
}

void write_run_4bit(bit_writer& out, pixel_run run)
{
    // No code has these lengths in these colours (8 of colour 0 has one, but goes like the others).
    if (run.length == 1 || (run.length == 3 && run.colour != 0) || run.length == 8) {
        write_single_4bit(out, run.colour);
        --run.length;
    }
    if (run.length == 2) {
        write_pair_4bit(out, run.colour);
    } else if (run.colour == 0 && run.length >= 3 && run.length <= 9) {
        bs_write(out, 5, 0b0000'0);
        bs_write(out, 3, run.length - 2);
    } else {
        write_long_run(out, run_codes_4bit, run, 4);
    }
}

void write_run_8bit(bit_writer& out, pixel_run run)
{
    if (run.colour != 0 && run.length <= 2) {
        for (; run.length > 0; --run.length)
            bs_write(out, 8, run.colour);
        return;
    }
    bs_write(out, 8, 0);
    bs_write(out, 1, run.colour != 0 ? 1 : 0);
    bs_write(out, 7, run.length);
    if (run.colour != 0)
        bs_write(out, 8, run.colour);
}

/// How the lines of one depth are coded.
struct code_string {
    std::uint32_t longest_run = 0;
    void (*write_run)(bit_writer&, pixel_run) = nullptr;
    std::int32_t end_code_bits = 0; ///< all of them zero
};

constexpr code_string code_string_2bit{.longest_run = 284, .write_run = write_run_2bit, .end_code_bits = 6};
constexpr code_string code_string_4bit{.longest_run = 280, .write_run = write_run_4bit, .end_code_bits = 8};
constexpr code_string code_string_8bit{.longest_run = 127, .write_run = write_run_8bit, .end_code_bits = 16};

pixel_run run_at_front(std::span<const std::uint8_t> pixels, std::uint32_t longest)
{
    pixel_run run{.colour = pixels[0], .length = 1};
    while (run.length < pixels.size() && run.length < longest && pixels[run.length] == run.colour)
        ++run.length;
    return run;
}

/// A line of no pixels is its end code alone.
void write_line(bit_writer& out, const code_string& code, const subpicture_region& region, std::uint32_t line)
{
    const plane& indices = region.picture->planes[0];
    std::span<const std::uint8_t> pixels(indices.pixels + std::ptrdiff_t{line} * indices.pitch, region.width);
    while (!pixels.empty()) {
        const pixel_run run = run_at_front(pixels, code.longest_run);
        code.write_run(out, run);
        pixels = pixels.subspan(run.length);
    }
    bs_write(out, code.end_code_bits, 0);
    bs_align_0(out);
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
    for (; line < region.height; line += region.picture->field_count) {
        write_sub_block(out, region, line);
        bs_write(out, 8, end_of_object_line_code);
    }
}

void encode_pixel_line_2bp(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    write_line(out, code_string_2bit, region, line);
}

void encode_pixel_line_4bp(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    write_line(out, code_string_4bit, region, line);
}

void encode_pixel_line_8bp(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    write_line(out, code_string_8bit, region, line);
}
