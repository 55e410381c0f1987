#include "encoder.h"

#include "palette.h"
#include "pixel_lines.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <span>

namespace {

constexpr std::uint32_t display_set_capacity = 64000;
constexpr std::uint32_t refresh_set_capacity = 128;

constexpr std::uint32_t data_identifier = 0x20;
constexpr std::uint32_t subtitle_stream_id = 0x00;
constexpr std::uint32_t end_of_pes_data_field_marker = 0xFF;

constexpr std::uint32_t sync_byte = 0x0F;
constexpr std::uint32_t page_composition_segment = 0x10;
constexpr std::uint32_t region_composition_segment = 0x11;
constexpr std::uint32_t clut_definition_segment = 0x12;
constexpr std::uint32_t object_data_segment = 0x13;
constexpr std::uint32_t end_of_display_set_segment = 0x80;

constexpr std::uint32_t page_time_out_seconds = 250;
constexpr std::uint32_t normal_case = 0;
constexpr std::uint32_t mode_change_case = 2;
constexpr std::uint32_t region_composition_length = 16;
constexpr std::uint32_t darkest_y_value = 16;

/// Everything of the segment header but its last field, the 16 bits of segment_length.
void begin_segment(bit_writer& out, std::uint32_t type, const subpicture& page)
{
    bs_write(out, 8, sync_byte);
    bs_write(out, 8, type);
    bs_write(out, 16, page.page_id);
}

void write_version(bit_writer& out, std::int32_t& version)
{
    bs_write(out, 4, static_cast<std::uint32_t>(version));
    ++version;
}

std::int32_t bytes_since(const bit_writer& out, std::int32_t position)
{
    return (bs_pos(out) - position) / 8;
}

/// Stores a length in its 16 bits at that position. A position at the end of the buffer, or so near
/// that its 16 bits were cut, takes no more than was left of them.
void store_length(const bit_writer& out, std::int32_t position, std::int32_t length)
{
    std::array<std::uint8_t, 2> bytes{};
    _SetWBE(bytes.data(), static_cast<std::uint16_t>(length));
    std::ptrdiff_t offset = position / 8;
    for (const std::uint8_t byte : bytes) {
        if (offset < out.end - out.start)
            out.start[offset++] = byte;
    }
}

/// Later regions are not checked beforehand: a count outside of the array means its nearest end.
std::span<const palette_entry> used_entries(const palette& colours)
{
    const std::int32_t count =
        std::clamp(colours.entry_count, 0, static_cast<std::int32_t>(palette_capacity));
    return std::span(colours.entries).first(static_cast<std::size_t>(count));
}

bool can_encode(const palette& colours)
{
    return colours.entry_count == 0 || colours.entry_count == 4 || colours.entry_count == 16
        || colours.entry_count == 256;
}

block* begin_pes_data_field(bit_writer& out, std::uint32_t capacity)
{
    block* const data = block_New(capacity);
    if (data == nullptr)
        return nullptr;
    bs_init(out, data->buffer, data->length);
    bs_write(out, 8, data_identifier);
    bs_write(out, 8, subtitle_stream_id);
    return data;
}

void end_pes_data_field(bit_writer& out, block& data, const subpicture& page)
{
    begin_segment(out, end_of_display_set_segment, page);
    bs_write(out, 16, 0); // segment_length
    bs_write(out, 8, end_of_pes_data_field_marker);
    data.length = static_cast<std::uint32_t>(bs_pos(out) / 8);
}

void look_up_coded_regions(subpicture& page, const coded_regions& encoded)
{
    for (subpicture_region* region = page.regions; region != nullptr; region = region->next) {
        region->drawn = digest_of(*region->picture);
        region->coded = find_coded_region(encoded, region->drawn);
    }
}

/// Converts the display set if need be. False, with a message, when it cannot be encoded.
bool make_encodable(const encoder& state, subpicture& page)
{
    const subpicture_region& first = *page.regions;
    const bool drawn = first.chroma == chroma_yuva;
    if (drawn && state.encoded != nullptr)
        look_up_coded_regions(page, *state.encoded);
    if (drawn && YuvaYuvp(&page) == nullptr) {
        std::fputs("no picture in subpicture\n", stderr);
        errno = ENOMEM;
        return false;
    }
    if (first.chroma != chroma_yuvp) {
        std::fputs("chroma not supported\n", stderr);
        errno = EINVAL;
        return false;
    }
    if (first.palette != nullptr && !can_encode(*first.palette)) {
        std::fprintf(stderr, "subpicture palette (%d) not handled\n", first.palette->entry_count);
        errno = EINVAL;
        return false;
    }
    return true;
}

/// `index` is at most `region_size_count`. Returns 0, or -1 when there is no memory for one more size.
std::int32_t note_region_size(encoder& state, std::int32_t index, const region_size& size)
{
    if (index >= state.region_size_count) {
        const std::size_t entries = static_cast<std::size_t>(state.region_size_count) + 1;
        void* const grown = std::realloc(state.region_sizes, entries * sizeof(region_size));
        if (grown == nullptr)
            return -1;
        state.region_sizes = static_cast<region_size*>(grown);
        ++state.region_size_count;
    }
    state.region_sizes[index] = size;
    return 0;
}

/// The size that the page composition noted; a region that it did not meet has its own.
region_size noted_size(const encoder& state, std::int32_t index, const subpicture_region& region)
{
    if (index < state.region_size_count)
        return state.region_sizes[index];
    return {.width = region.width, .height = region.height};
}

/// Index of the first fully transparent entry; the number of entries when there is none.
std::uint32_t transparent_index(const palette& colours)
{
    const auto entries = used_entries(colours);
    const auto found = std::find_if(
        entries.begin(), entries.end(), [](const palette_entry& entry) { return entry[3] == 0; });
    return static_cast<std::uint32_t>(found - entries.begin());
}

/// region_depth (7.2.3) of 2, 4 or 8 bits.
std::uint32_t depth_code(const palette& colours)
{
    if (colours.entry_count == 4)
        return 1;
    return colours.entry_count == 16 ? 2 : 3;
}

void write_region_composition(
    encoder& state, bit_writer& out, const subpicture_region& region, std::int32_t index)
{
    const palette& colours = *region.palette;
    const region_size size = noted_size(state, index, region);
    const std::uint32_t fill_code = transparent_index(colours);
    const std::uint32_t depth = depth_code(colours);
    const auto id = static_cast<std::uint32_t>(index);

    bs_write(out, 8, id); // region_id
    write_version(out, state.region_version);
    bs_write(out, 1, fill_code < used_entries(colours).size() ? 1 : 0); // region_fill_flag
    bs_write(out, 3, 0);
    bs_write(out, 16, size.width);
    bs_write(out, 16, size.height);
    bs_write(out, 3, depth); // region_level_of_compatibility
    bs_write(out, 3, depth); // region_depth
    bs_write(out, 2, 0);
    bs_write(out, 8, colours.clut_id);
    bs_write(out, 8, fill_code); // region_8-bit_pixel_code
    bs_write(out, 4, fill_code); // region_4-bit_pixel-code
    bs_write(out, 2, fill_code); // region_2-bit_pixel-code
    bs_write(out, 2, 0);
    bs_write(out, 16, id); // object_id
    bs_write(out, 2, 0);   // object_type: basic bitmap
    bs_write(out, 2, 0);   // object_provider_flag: in the subtitling stream
    bs_write(out, 12, 0);  // object_horizontal_position
    bs_write(out, 4, 0);
    bs_write(out, 12, 0); // object_vertical_position
}

/// A receiver takes Y_value 0 for full transparency (7.2.4): an opaque black is sent as 16.
std::uint32_t y_value(const palette_entry& entry)
{
    if (entry[3] == 0)
        return 0;
    return entry[0] == 0 ? darkest_y_value : entry[0];
}

void write_clut(encoder& state, bit_writer& out, const palette& colours)
{
    bs_write(out, 8, colours.clut_id);
    write_version(out, state.clut_version);
    bs_write(out, 4, 0);
    std::uint32_t id = 0;
    for (const palette_entry& entry : used_entries(colours)) {
        bs_write(out, 8, id++);                               // CLUT_entry_id
        bs_write(out, 1, colours.entry_count == 4 ? 1 : 0);   // 2-bit/entry_CLUT_flag
        bs_write(out, 1, colours.entry_count == 16 ? 1 : 0);  // 4-bit/entry_CLUT_flag
        bs_write(out, 1, colours.entry_count == 256 ? 1 : 0); // 8-bit/entry_CLUT_flag
        bs_write(out, 4, 0);
        bs_write(out, 1, 1); // full_range_flag
        bs_write(out, 8, y_value(entry));
        bs_write(out, 8, entry[2]);        // Cr_value
        bs_write(out, 8, entry[1]);        // Cb_value
        bs_write(out, 8, 255U - entry[3]); // T_value
    }
}

/// Writes one field of the object. Returns its bytes in the buffer.
std::span<const std::uint8_t> write_field(bit_writer& out, const subpicture_region& region, std::uint8_t top)
{
    const std::int32_t begin = bs_pos(out);
    if (region.coded != nullptr)
        bs_write_bytes(out, region.coded->fields[top != 0 ? 0 : 1]);
    else
        encode_pixel_data(out, region, top);
    return {out.start + begin / 8, static_cast<std::size_t>(bytes_since(out, begin))};
}

/// What the buffer's end may have cut, and a single field, are of no use to later regions.
void keep_for_later(coded_regions& encoded, const bit_writer& out, const subpicture_region& region,
    const coded_fields& fields)
{
    if (region.coded != nullptr || out.current == out.end || fields[1].data() == nullptr)
        return;
    coded_region kept{.pixels = region.drawn, .fields = fields};
    const auto colours = used_entries(*region.palette);
    if (colours.size() != kept.colours.size())
        return;
    std::ranges::copy(colours, kept.colours.begin());
    insert_coded_region(encoded, kept);
}

void write_object_data(encoder& state, bit_writer& out, const subpicture_region& region)
{
    const std::int32_t lengths_position = bs_pos(out);
    bs_write(out, 32, 0); // top_field_data_block_length, bottom_field_data_block_length
    coded_fields fields{write_field(out, region, 1)};
    if (region.picture->top_field_only != 1)
        fields[1] = write_field(out, region, 0);
    store_length(out, lengths_position, static_cast<std::int32_t>(fields[0].size()));
    store_length(out, lengths_position + 16, static_cast<std::int32_t>(fields[1].size()));
    if (state.encoded != nullptr)
        keep_for_later(*state.encoded, out, region, fields);
    bs_align_0(out);
    if (bs_pos(out) % 16 != 0)
        bs_write(out, 8, 0); // 8_stuff_bits: the block goes on at an even byte
}

void write_object(encoder& state, bit_writer& out, const subpicture_region& region, std::uint32_t object_id)
{
    bs_write(out, 16, object_id);
    write_version(out, state.region_version);
    bs_write(out, 2, 0); // object_coding_method: pixels
    bs_write(out, 1, 0); // non_modifying_colour_flag
    bs_write(out, 1, 0);
    if (region.chroma != chroma_yuvp)
        std::fprintf(
            stderr, "FOURCC %d not supported by encoder.\n", static_cast<std::int32_t>(region.chroma));
    write_object_data(state, out, region);
}

} // namespace

encoder* OpenEncoder()
{
    return static_cast<encoder*>(std::calloc(1, sizeof(encoder)));
}

block* Encode(encoder* state, subpicture* page)
{
    if (page == nullptr || page->regions == nullptr || !make_encodable(*state, *page))
        return nullptr;
    bit_writer out;
    block* const data = begin_pes_data_field(out, display_set_capacity);
    if (data == nullptr)
        return nullptr;
    if (encode_page_composition(*state, out, *page, 1) != 0) {
        std::free(data);
        return nullptr;
    }
    encode_region_composition(*state, out, *page);
    encode_clut(*state, out, *page);
    encode_object(*state, out, *page);
    end_pes_data_field(out, *data, *page);
    return data;
}

block* EncodeRefreshDisplaySet(encoder* state, const subpicture* page)
{
    if (page == nullptr || page->regions == nullptr)
        return nullptr;
    bit_writer out;
    block* const data = begin_pes_data_field(out, refresh_set_capacity);
    if (data == nullptr)
        return nullptr;
    if (encode_page_composition(*state, out, *page, 0) != 0) {
        std::free(data);
        return nullptr;
    }
    end_pes_data_field(out, *data, *page);
    return data;
}

void CloseEncoder(encoder* state)
{
    if (state->region_size_count != 0)
        std::free(state->region_sizes);
    std::free(state);
}

std::int32_t encode_page_composition(
    encoder& state, bit_writer& out, const subpicture& page, std::uint8_t mode_change)
{
    std::int32_t count = 0;
    for (const subpicture_region* region = page.regions; region != nullptr; region = region->next) {
        if (note_region_size(state, count, {.width = region->width, .height = region->height}) != 0)
            return -1;
        ++count;
    }
    begin_segment(out, page_composition_segment, page);
    bs_write(out, 16, 6 * static_cast<std::uint32_t>(count) + 2); // segment_length
    bs_write(out, 8, page_time_out_seconds);
    write_version(out, state.page_version);
    bs_write(out, 2, mode_change != 0 ? mode_change_case : normal_case); // page_state
    bs_write(out, 2, 0);
    std::uint32_t id = 0;
    for (const subpicture_region* region = page.regions; region != nullptr; region = region->next) {
        bs_write(out, 8, id++); // region_id
        bs_write(out, 8, 0);
        bs_write(out, 16, region->x);
        bs_write(out, 16, region->y);
    }
    return 0;
}

void encode_region_composition(encoder& state, bit_writer& out, const subpicture& page)
{
    std::int32_t index = 0;
    for (const subpicture_region* region = page.regions; region != nullptr; region = region->next) {
        if (region->palette == nullptr) {
            std::fputs("subpicture has no palette - ignoring it\n", stderr);
            return;
        }
        begin_segment(out, region_composition_segment, page);
        bs_write(out, 16, region_composition_length);
        write_region_composition(state, out, *region, index++);
    }
}

void encode_clut(encoder& state, bit_writer& out, const subpicture& page)
{
    for (const subpicture_region* region = page.regions; region != nullptr; region = region->next) {
        if (region->palette == nullptr)
            continue;
        const auto entries = static_cast<std::uint32_t>(used_entries(*region->palette).size());
        begin_segment(out, clut_definition_segment, page);
        bs_write(out, 16, 6 * entries + 2); // segment_length
        write_clut(state, out, *region->palette);
    }
}

void encode_object(encoder& state, bit_writer& out, const subpicture& page)
{
    std::uint32_t object_id = 0;
    for (const subpicture_region* region = page.regions; region != nullptr; region = region->next) {
        begin_segment(out, object_data_segment, page);
        const std::int32_t length_position = bs_pos(out);
        bs_write(out, 16, 0); // segment_length
        write_object(state, out, *region, object_id++);
        store_length(out, length_position, bytes_since(out, length_position) - 2);
    }
}
