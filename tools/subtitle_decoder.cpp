#include "subtitle_decoder.h"

#include "bit_reader.h"
#include "formatted.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::uint32_t page_composition_segment = 0x10;
constexpr std::uint32_t region_composition_segment = 0x11;
constexpr std::uint32_t clut_definition_segment = 0x12;
constexpr std::uint32_t object_data_segment = 0x13;
constexpr std::uint32_t end_of_display_set_segment = 0x80;

constexpr std::uint64_t region_pixels_max = 1U << 24;

/// Where a region shows an object.
struct object_place {
    std::uint32_t region_id = 0;
    std::uint32_t object_id = 0;
    std::uint32_t x = 0; ///< in the region
    std::uint32_t y = 0;
};

/// A colour of a CLUT and which of its tables have it.
struct clut_entry {
    std::uint32_t id = 0;
    std::array<bool, 3> in_table{}; ///< of 2, 4 and 8 bits
    clut_colour colour{};
};

struct clut {
    std::uint32_t id = 0;
    std::uint32_t version = 0;
    std::vector<clut_entry> entries{};
};

/// A display set under way.
struct decoding {
    decoded_page page{};
    std::vector<object_place> places{};
    std::vector<clut> cluts{};
    std::vector<subtitle_object> objects{};
};

void report(decoding& state, std::string problem)
{
    state.page.problems.push_back(std::move(problem));
}

// Page composition

decoded_region* find_region(decoding& state, std::uint32_t id)
{
    const auto found = std::ranges::find(state.page.regions, id, &decoded_region::id);
    return found == state.page.regions.end() ? nullptr : &*found;
}

void decode_page_composition(decoding& state, const subtitle_segment& segment)
{
    bit_reader in{.bytes = segment.data};
    if (segment.data.size() < 2 || (segment.data.size() - 2) % 6 != 0)
        report(state, "page composition: its length does not fit its regions");
    state.page.page_id = segment.page_id;
    state.page.time_out_s = take(in, 8);
    state.page.version = take(in, 4);
    state.page.state = take(in, 2);
    take(in, 2);
    if (state.page.state == 3)
        report(state, "page composition: page_state 3 is reserved");
    while (in.position / 8 + 6 <= segment.data.size()) {
        decoded_region region{.id = take(in, 8)};
        take(in, 8);
        region.x = take(in, 16);
        region.y = take(in, 16);
        if (find_region(state, region.id) != nullptr)
            report(state, formatted("page composition: region %u twice", region.id));
        else
            state.page.regions.push_back(region);
    }
}

// Region composition

std::string region_problem(const decoded_region& region, std::uint32_t depth_code)
{
    if (depth_code < 1 || depth_code > 3)
        return formatted("region_depth %u is reserved", depth_code);
    if (region.width == 0 || region.height == 0)
        return "no pixel";
    if (std::uint64_t{region.width} * region.height > region_pixels_max)
        return formatted("%ux%u pixels are too many", region.width, region.height);
    return "";
}

std::uint32_t take_fill_index(bit_reader& in, std::uint32_t depth_bits)
{
    const std::uint32_t code_8bit = take(in, 8);
    const std::uint32_t code_4bit = take(in, 4);
    const std::uint32_t code_2bit = take(in, 2);
    take(in, 2);
    if (depth_bits == 8)
        return code_8bit;
    return depth_bits == 4 ? code_4bit : code_2bit;
}

void take_object_places(decoding& state, bit_reader& in, std::uint32_t region_id)
{
    while (!at_end(in)) {
        object_place place{.region_id = region_id, .object_id = take(in, 16)};
        const std::uint32_t type = take(in, 2);
        const std::uint32_t provider = take(in, 2);
        place.x = take(in, 12);
        take(in, 4);
        place.y = take(in, 12);
        if (in.exhausted)
            return report(state, formatted("region %u: its length does not fit its objects", region_id));
        if (type != 0 || provider != 0)
            return report(state,
                formatted("region %u: object of type %u and provider %u is not decoded", region_id, type,
                    provider));
        state.places.push_back(place);
    }
}

void decode_region_composition(decoding& state, const subtitle_segment& segment)
{
    bit_reader in{.bytes = segment.data};
    const std::uint32_t id = take(in, 8);
    decoded_region* const region = find_region(state, id);
    if (region == nullptr)
        return report(state, formatted("region %u is not on the page", id));
    if (!region->colours.empty())
        return report(state, formatted("region %u is composed twice", id));
    region->version = take(in, 4);
    region->filled = take(in, 1) == 1;
    take(in, 3);
    region->width = take(in, 16);
    region->height = take(in, 16);
    const std::uint32_t compatibility_code = take(in, 3);
    const std::uint32_t depth_code = take(in, 3);
    take(in, 2);
    region->clut_id = take(in, 8);
    region->depth_bits = 1U << (depth_code & 3U);
    region->fill_index = take_fill_index(in, region->depth_bits);

    const std::string problem =
        in.exhausted ? "its composition is too short" : region_problem(*region, depth_code);
    if (!problem.empty()) {
        region->width = region->height = 0;
        return report(state, formatted("region %u: %s", id, problem.c_str()));
    }
    if (compatibility_code < 1 || compatibility_code > depth_code)
        report(state,
            formatted("region %u: region_level_of_compatibility %u does not fit its depth", id,
                compatibility_code));
    region->colours.resize(std::size_t{1} << region->depth_bits);
    region->indices.assign(std::size_t{region->width} * region->height,
        static_cast<std::uint8_t>(region->filled ? region->fill_index : 0));
    take_object_places(state, in, id);
}

// CLUT definition

clut_colour take_full_range_colour(bit_reader& in)
{
    clut_colour colour{.defined = true};
    for (std::uint8_t* const part : {&colour.y, &colour.cr, &colour.cb, &colour.t})
        *part = static_cast<std::uint8_t>(take(in, 8));
    return colour;
}

/// The most significant bits of each part only.
clut_colour take_reduced_colour(bit_reader& in)
{
    clut_colour colour{.defined = true};
    colour.y = static_cast<std::uint8_t>(take(in, 6) << 2);
    colour.cr = static_cast<std::uint8_t>(take(in, 4) << 4);
    colour.cb = static_cast<std::uint8_t>(take(in, 4) << 4);
    colour.t = static_cast<std::uint8_t>(take(in, 2) << 6);
    return colour;
}

clut_entry take_clut_entry(bit_reader& in)
{
    clut_entry entry{.id = take(in, 8)};
    for (bool& in_table : entry.in_table)
        in_table = take(in, 1) == 1;
    take(in, 4);
    const bool full_range = take(in, 1) == 1;
    entry.colour = full_range ? take_full_range_colour(in) : take_reduced_colour(in);
    return entry;
}

void decode_clut(decoding& state, const subtitle_segment& segment)
{
    bit_reader in{.bytes = segment.data};
    clut table{.id = take(in, 8), .version = take(in, 4)};
    take(in, 4);
    while (!at_end(in) && !in.exhausted)
        table.entries.push_back(take_clut_entry(in));
    if (in.exhausted) {
        if (!table.entries.empty())
            table.entries.pop_back();
        report(state, formatted("CLUT %u: its length does not fit its entries", table.id));
    }
    if (std::ranges::find(state.cluts, table.id, &clut::id) != state.cluts.end())
        return report(state, formatted("CLUT %u is defined twice", table.id));
    state.cluts.push_back(std::move(table));
}

void give_colour(decoding& state, decoded_region& region, const clut_entry& entry)
{
    if (entry.id >= region.colours.size())
        return report(state, formatted("CLUT %u: entry %u is beyond its table", region.clut_id, entry.id));
    clut_colour& colour = region.colours[entry.id];
    if (colour.defined)
        report(state, formatted("CLUT %u: entry %u twice", region.clut_id, entry.id));
    colour = entry.colour;
}

void give_colours(decoding& state, decoded_region& region)
{
    const auto table = std::ranges::find(state.cluts, region.clut_id, &clut::id);
    if (table == state.cluts.end())
        return report(state, formatted("region %u: there is no CLUT %u", region.id, region.clut_id));
    region.clut_version = table->version;
    const std::size_t table_number = region.depth_bits / 4; // 2, 4 and 8 bits: 0, 1 and 2
    for (const clut_entry& entry : table->entries)
        if (entry.in_table[table_number])
            give_colour(state, region, entry);
}

// Objects

void decode_object(decoding& state, const subtitle_segment& segment)
{
    subtitle_object object = read_object(segment.data);
    if (!object.problem.empty())
        report(state, formatted("object %u: %s", object.id, object.problem.c_str()));
    if (std::ranges::find(state.objects, object.id, &subtitle_object::id) != state.objects.end())
        return report(state, formatted("object %u is sent twice", object.id));
    state.objects.push_back(std::move(object));
}

/// A region while its objects are put in.
struct region_painting {
    decoded_region& region;
    std::vector<bool> covered{};
};

/// Puts the lines of one field in. Returns what is wrong with them.
std::string paint_field(
    region_painting& painting, const object_place& place, const pixel_data& field, std::uint32_t first_line)
{
    const decoded_region& region = painting.region;
    std::uint32_t line = place.y + first_line;
    for (const pixel_row& row : field.rows) {
        if (line >= region.height)
            return "lines below the region";
        if (place.x + row.size() > region.width)
            return formatted("a line of %zu pixels in a region that is %u wide", row.size(), region.width);
        const auto begin = static_cast<std::ptrdiff_t>(std::size_t{line} * region.width + place.x);
        std::ranges::copy(row, painting.region.indices.begin() + begin);
        std::fill_n(painting.covered.begin() + begin, row.size(), true);
        line += 2;
    }
    return "";
}

std::string paint_object(region_painting& painting, const object_place& place, const subtitle_object& object)
{
    for (const pixel_data* field : {&object.top, &object.bottom})
        if (field->depth_bits != 0 && field->depth_bits != painting.region.depth_bits)
            return formatted(
                "%u-bit pixels in a region of %u bits", field->depth_bits, painting.region.depth_bits);
    std::string problem = paint_field(painting, place, object.top, 0);
    if (!problem.empty())
        return problem;
    if (!object.bottom_repeats_top)
        return paint_field(painting, place, object.bottom, 1);
    pixel_data repeated = object.top;
    const std::uint32_t first = place.y + 1;
    const std::size_t lines =
        painting.region.height > first ? (std::size_t{painting.region.height} - first + 1) / 2 : 0;
    repeated.rows.resize(std::min(repeated.rows.size(), lines));
    return paint_field(painting, place, repeated, 1);
}

void paint_objects(decoding& state, region_painting& painting)
{
    for (const object_place& place : state.places) {
        if (place.region_id != painting.region.id)
            continue;
        const auto object = std::ranges::find(state.objects, place.object_id, &subtitle_object::id);
        const std::string problem = object == state.objects.end() ? std::string("there is no such object")
                                                                  : paint_object(painting, place, *object);
        if (!problem.empty())
            report(state,
                formatted("region %u, object %u: %s", place.region_id, place.object_id, problem.c_str()));
    }
}

void check_colours(decoding& state, const decoded_region& region)
{
    const auto undefined = std::ranges::find_if(
        region.indices, [&](std::uint8_t index) { return !region.colours[index].defined; });
    if (undefined != region.indices.end())
        report(state,
            formatted("region %u: CLUT %u has no entry %u", region.id, region.clut_id,
                static_cast<unsigned>(*undefined)));
}

void finish_region(decoding& state, decoded_region& region)
{
    if (region.width == 0) {
        if (state.page.state != 0)
            report(state, formatted("region %u is not composed", region.id));
        return;
    }
    give_colours(state, region);
    region_painting painting{
        .region = region, .covered = std::vector<bool>(region.indices.size(), region.filled)};
    paint_objects(state, painting);
    const auto uncovered = std::ranges::count(painting.covered, false);
    if (uncovered != 0)
        report(state, formatted("region %u: %td pixels without a colour", region.id, uncovered));
    check_colours(state, region);
}

void check_objects(decoding& state)
{
    for (const subtitle_object& object : state.objects)
        if (std::ranges::find(state.places, object.id, &object_place::object_id) == state.places.end())
            report(state, formatted("object %u is in no region", object.id));
}

// The whole display set

struct segment_rule {
    std::uint32_t type = 0;
    void (*decode)(decoding& state, const subtitle_segment& segment) = nullptr;
};

constexpr segment_rule segment_rules[] = {
    {page_composition_segment, decode_page_composition},
    {region_composition_segment, decode_region_composition},
    {clut_definition_segment, decode_clut},
    {object_data_segment, decode_object},
    {end_of_display_set_segment,
        [](decoding& state, const subtitle_segment& segment) {
            if (!segment.data.empty())
                report(state, "the end of display set segment is not empty");
        }},
};

void decode_segment(decoding& state, const subtitle_segment& segment)
{
    const auto* const rule = std::ranges::find(segment_rules, segment.type, &segment_rule::type);
    if (rule == std::end(segment_rules))
        report(state, formatted("a segment of type 0x%02X is not decoded", segment.type));
    else
        rule->decode(state, segment);
}

/// The order in which the segments of a display set stand is that of their types.
void check_order(decoding& state, std::span<const subtitle_segment> segments)
{
    if (!std::ranges::is_sorted(segments, {}, &subtitle_segment::type))
        report(state, "the segments are not in their order");
    if (std::ranges::count(segments, page_composition_segment, &subtitle_segment::type) != 1)
        report(state, "there must be one page composition");
    if (std::ranges::count(segments, end_of_display_set_segment, &subtitle_segment::type) != 1)
        report(state, "there must be one end of display set");
    for (const subtitle_segment& segment : segments)
        if (segment.page_id != segments.front().page_id)
            return report(state, "the segments are of different pages");
}

} // namespace

decoded_page decode_display_set(std::span<const std::uint8_t> field)
{
    const segment_list list = read_segments(field);
    decoding state;
    if (!list.problem.empty())
        report(state, list.problem);
    check_order(state, list.segments);
    for (const subtitle_segment& segment : list.segments)
        decode_segment(state, segment);
    for (decoded_region& region : state.page.regions)
        finish_region(state, region);
    check_objects(state);
    return std::move(state.page);
}
