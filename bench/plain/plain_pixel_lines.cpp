#include "plain_pixel_lines.h"

namespace plain {
namespace {

/// `bs_write` and `bs_align_0` bit by bit.
void write_bits(bit_writer& out, std::int32_t count, std::uint32_t value)
{
    while (count > 0) {
        if (out.current == out.end)
            break;
        --count;
        const std::uint32_t bit = count < 32 ? value >> count & 1U : 0;
        const std::uint32_t place = 1U << (out.bits_left - 1);
        *out.current = static_cast<std::uint8_t>(bit != 0 ? *out.current | place : *out.current & ~place);
        --out.bits_left;
        if (out.bits_left == 0) {
            ++out.current;
            out.bits_left = 8;
        }
    }
}

void align_bits(bit_writer& out)
{
    if (out.bits_left != 8)
        write_bits(out, out.bits_left, 0);
}

void write_run_2bit(bit_writer& out, std::uint32_t colour, std::uint32_t length)
{
    if (length == 1 || length == 11 || length == 28) {
        if (colour != 0)
            write_bits(out, 2, colour);
        else
            write_bits(out, 4, 0b0001);
        --length;
    }
    if (length == 2) {
        if (colour != 0) {
            write_bits(out, 2, colour);
            write_bits(out, 2, colour);
        } else {
            write_bits(out, 6, 0b000001);
        }
    } else if (length >= 3 && length <= 10) {
        write_bits(out, 3, 0b001);
        write_bits(out, 3, length - 3);
        write_bits(out, 2, colour);
    } else if (length >= 12 && length <= 27) {
        write_bits(out, 6, 0b000010);
        write_bits(out, 4, length - 12);
        write_bits(out, 2, colour);
    } else if (length >= 29) {
        write_bits(out, 6, 0b000011);
        write_bits(out, 8, length - 29);
        write_bits(out, 2, colour);
    }
}

void write_run_4bit(bit_writer& out, std::uint32_t colour, std::uint32_t length)
{
    if (length == 1 || (length == 3 && colour != 0) || length == 8) {
        if (colour != 0)
            write_bits(out, 4, colour);
        else
            write_bits(out, 8, 0b00001100);
        --length;
    }
    if (length == 2) {
        if (colour != 0) {
            write_bits(out, 4, colour);
            write_bits(out, 4, colour);
        } else {
            write_bits(out, 8, 0b00001101);
        }
    } else if (colour == 0 && length >= 3 && length <= 9) {
        write_bits(out, 5, 0);
        write_bits(out, 3, length - 2);
    } else if (length >= 4 && length <= 7) {
        write_bits(out, 6, 0b000010);
        write_bits(out, 2, length - 4);
        write_bits(out, 4, colour);
    } else if (length >= 9 && length <= 24) {
        write_bits(out, 8, 0b00001110);
        write_bits(out, 4, length - 9);
        write_bits(out, 4, colour);
    } else if (length >= 25) {
        write_bits(out, 8, 0b00001111);
        write_bits(out, 8, length - 25);
        write_bits(out, 4, colour);
    }
}

void write_run_8bit(bit_writer& out, std::uint32_t colour, std::uint32_t length)
{
    if (length == 1 && colour != 0) {
        write_bits(out, 8, colour);
    } else if (length == 2 && colour != 0) {
        write_bits(out, 8, colour);
        write_bits(out, 8, colour);
    } else if (length != 0) {
        write_bits(out, 8, 0);
        write_bits(out, 1, colour != 0 ? 1 : 0);
        write_bits(out, 7, length);
        if (colour != 0)
            write_bits(out, 8, colour);
    }
}

using run_writer = void (*)(bit_writer&, std::uint32_t colour, std::uint32_t length);

void write_runs(bit_writer& out, const std::uint8_t* pixels, std::uint32_t width, std::uint32_t longest,
    run_writer write_run)
{
    std::uint8_t colour = width != 0 ? pixels[0] : 0;
    std::uint32_t run = 0;
    std::uint32_t i = 0;
    while (i <= width) {
        if (i < width && pixels[i] == colour && run != longest) {
            ++run;
            ++i;
            continue;
        }
        write_run(out, colour, run);
        if (i == width)
            break;
        colour = pixels[i];
        run = 1;
        ++i;
    }
}

void encode_line(bit_writer& out, const subpicture_region& region, std::uint32_t line)
{
    const plane& indices = region.picture->planes[0];
    const std::uint8_t* const pixels = indices.pixels + static_cast<std::ptrdiff_t>(line) * indices.pitch;
    if (region.palette->entry_count == 4) {
        write_bits(out, 8, 0x10);
        write_runs(out, pixels, region.width, 284, write_run_2bit);
        write_bits(out, 6, 0);
    } else if (region.palette->entry_count == 16) {
        write_bits(out, 8, 0x11);
        write_runs(out, pixels, region.width, 280, write_run_4bit);
        write_bits(out, 8, 0);
    } else if (region.palette->entry_count == 256) {
        write_bits(out, 8, 0x12);
        write_runs(out, pixels, region.width, 127, write_run_8bit);
        write_bits(out, 16, 0);
    }
    align_bits(out);
}

} // namespace

void write_pixel_data(bit_writer& out, const subpicture_region& region, std::uint8_t top)
{
    for (std::uint32_t line = top != 0 ? 0 : 1; line < region.height; line += region.picture->field_count) {
        encode_line(out, region, line);
        write_bits(out, 8, 0xF0);
    }
}

} // namespace plain
