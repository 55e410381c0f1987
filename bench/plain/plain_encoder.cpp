#include "plain_encoder.h"

#include "plain_bit_writer.h"
#include "plain_pixel_lines.h"

#include <cstdlib>

namespace plain {
namespace {

std::uint32_t next_version(std::int32_t& version)
{
    return static_cast<std::uint32_t>(version++);
}

void begin_segment(bit_writer& out, std::uint32_t type, const subpicture& page)
{
    write_bits(out, 8, 0x0F);
    write_bits(out, 8, type);
    write_bits(out, 16, page.page_id);
}

void store(const bit_writer& out, std::int32_t position, std::int32_t value)
{
    std::uint8_t* const place = out.start + position / 8;
    if (place != out.end)
        place[0] = static_cast<std::uint8_t>(value >> 8);
    if (place != out.end && place + 1 != out.end)
        place[1] = static_cast<std::uint8_t>(value);
}

void write_page_composition(encoder& state, bit_writer& out, const subpicture& page)
{
    std::uint32_t count = 0;
    for (const auto* region = page.regions; region != nullptr; region = region->next)
        ++count;
    begin_segment(out, 0x10, page);
    write_bits(out, 16, 6 * count + 2);
    write_bits(out, 8, 250);
    write_bits(out, 4, next_version(state.page_version));
    write_bits(out, 2, 2);
    write_bits(out, 2, 0);
    std::uint32_t id = 0;
    for (const auto* region = page.regions; region != nullptr; region = region->next) {
        write_bits(out, 8, id++);
        write_bits(out, 8, 0);
        write_bits(out, 16, region->x);
        write_bits(out, 16, region->y);
    }
}

void write_region_composition(encoder& state, bit_writer& out, const subpicture& page,
    const subpicture_region& region, std::uint32_t id)
{
    const palette& colours = *region.palette;
    const auto entries = static_cast<std::uint32_t>(colours.entry_count);
    std::uint32_t fill = 0;
    while (fill < entries && colours.entries[fill][3] != 0)
        ++fill;
    const std::uint32_t depth = entries == 4 ? 1 : entries == 16 ? 2 : 3;
    begin_segment(out, 0x11, page);
    write_bits(out, 16, 16);
    write_bits(out, 8, id);
    write_bits(out, 4, next_version(state.region_version));
    write_bits(out, 1, fill < entries ? 1 : 0);
    write_bits(out, 3, 0);
    write_bits(out, 16, region.width);
    write_bits(out, 16, region.height);
    write_bits(out, 3, depth);
    write_bits(out, 3, depth);
    write_bits(out, 2, 0);
    write_bits(out, 8, colours.clut_id);
    write_bits(out, 8, fill);
    write_bits(out, 4, fill);
    write_bits(out, 2, fill);
    write_bits(out, 2, 0);
    write_bits(out, 16, id);
    write_bits(out, 2, 0);
    write_bits(out, 2, 0);
    write_bits(out, 12, 0);
    write_bits(out, 4, 0);
    write_bits(out, 12, 0);
}

void write_clut(encoder& state, bit_writer& out, const subpicture& page, const palette& colours)
{
    const auto entries = static_cast<std::uint32_t>(colours.entry_count);
    begin_segment(out, 0x12, page);
    write_bits(out, 16, 6 * entries + 2);
    write_bits(out, 8, colours.clut_id);
    write_bits(out, 4, next_version(state.clut_version));
    write_bits(out, 4, 0);
    for (std::uint32_t j = 0; j < entries; ++j) {
        const palette_entry& entry = colours.entries[j];
        write_bits(out, 8, j);
        write_bits(out, 1, entries == 4 ? 1 : 0);
        write_bits(out, 1, entries == 16 ? 1 : 0);
        write_bits(out, 1, entries == 256 ? 1 : 0);
        write_bits(out, 4, 0);
        write_bits(out, 1, 1);
        write_bits(out, 8, entry[3] == 0 ? 0 : entry[0] == 0 ? 16 : entry[0]);
        write_bits(out, 8, entry[2]);
        write_bits(out, 8, entry[1]);
        write_bits(out, 8, 255U - entry[3]);
    }
}

void write_object(encoder& state, bit_writer& out, const subpicture& page, const subpicture_region& region,
    std::uint32_t id)
{
    begin_segment(out, 0x13, page);
    const std::int32_t segment_length = bs_pos(out);
    write_bits(out, 16, 0);
    write_bits(out, 16, id);
    write_bits(out, 4, next_version(state.region_version));
    write_bits(out, 2, 0);
    write_bits(out, 1, 0);
    write_bits(out, 1, 0);
    const std::int32_t top_length = bs_pos(out);
    write_bits(out, 32, 0);
    std::int32_t begin = bs_pos(out);
    write_pixel_data(out, region, 1);
    store(out, top_length, (bs_pos(out) - begin) / 8);
    if (region.picture->top_field_only != 1) {
        begin = bs_pos(out);
        write_pixel_data(out, region, 0);
        store(out, top_length + 16, (bs_pos(out) - begin) / 8);
    }
    align_bits(out);
    if (bs_pos(out) % 16 != 0)
        write_bits(out, 8, 0);
    store(out, segment_length, (bs_pos(out) - segment_length) / 8 - 2);
}

void write_segments(encoder& state, bit_writer& out, const subpicture& page)
{
    write_page_composition(state, out, page);
    std::uint32_t id = 0;
    for (const auto* region = page.regions; region != nullptr; region = region->next)
        write_region_composition(state, out, page, *region, id++);
    for (const auto* region = page.regions; region != nullptr; region = region->next)
        write_clut(state, out, page, *region->palette);
    id = 0;
    for (const auto* region = page.regions; region != nullptr; region = region->next)
        write_object(state, out, page, *region, id++);
}

} // namespace

block* Encode(encoder* state, const subpicture* page)
{
    block* const data = block_New(64000);
    if (data == nullptr)
        return nullptr;
    bit_writer out;
    bs_init(out, data->buffer, data->length);
    write_bits(out, 8, 0x20);
    write_bits(out, 8, 0x00);
    write_segments(*state, out, *page);
    begin_segment(out, 0x80, *page);
    write_bits(out, 16, 0);
    write_bits(out, 8, 0xFF);
    data->length = static_cast<std::uint32_t>(bs_pos(out) / 8);
    return data;
}

} // namespace plain
