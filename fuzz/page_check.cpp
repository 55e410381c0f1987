#include "page_check.h"

#include "input.h"
#include "subtitle_segments.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace {

constexpr std::uint32_t display_set_capacity = 64000;
constexpr std::uint32_t refresh_set_capacity = 128;

constexpr std::uint32_t page_composition = 0x10;
constexpr std::uint32_t region_composition = 0x11;
constexpr std::uint32_t clut_definition = 0x12;
constexpr std::uint32_t object_data_segment = 0x13;
constexpr std::uint32_t end_of_display_set = 0x80;

using region_list = std::vector<const subpicture_region*>;

region_list regions_of(const subpicture& page)
{
    region_list regions;
    for (const auto* region = page.regions; region != nullptr; region = region->next)
        regions.push_back(region);
    return regions;
}

bool has_no_palette(const subpicture_region* region)
{
    return region->palette == nullptr;
}

/// The first region without a palette ends the region compositions; it has no CLUT either.
std::vector<std::uint32_t> expected_types(const region_list& regions)
{
    const auto composed = std::ranges::find_if(regions, has_no_palette) - regions.begin();
    const auto cluts = std::ranges::count_if(regions, std::not_fn(has_no_palette));
    std::vector<std::uint32_t> types{page_composition};
    types.insert(types.end(), static_cast<std::size_t>(composed), region_composition);
    types.insert(types.end(), static_cast<std::size_t>(cluts), clut_definition);
    types.insert(types.end(), regions.size(), object_data_segment);
    types.push_back(end_of_display_set);
    return types;
}

std::uint32_t u16_at(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::uint32_t>(bytes[at] << 8 | bytes[at + 1]);
}

void check_page(std::span<const std::uint8_t> data, const region_list& regions)
{
    require(data.size() == 2 + 6 * regions.size());
    for (std::size_t i = 0; i < regions.size(); ++i) {
        require(data[2 + 6 * i] == static_cast<std::uint8_t>(i));
        require(u16_at(data, 4 + 6 * i) == (regions[i]->x & 0xFFFFU));
        require(u16_at(data, 6 + 6 * i) == (regions[i]->y & 0xFFFFU));
    }
}

void check_region(std::span<const std::uint8_t> data, const subpicture_region& region)
{
    require(data.size() == 16);
    require(u16_at(data, 2) == (region.width & 0xFFFFU) && u16_at(data, 4) == (region.height & 0xFFFFU));
    require(data[7] == region.palette->clut_id);
}

void check_clut(std::span<const std::uint8_t> data, const palette& colours)
{
    const std::int32_t count =
        std::clamp(colours.entry_count, 0, static_cast<std::int32_t>(palette_capacity));
    require(data.size() == 2 + 6 * static_cast<std::size_t>(count) && data[0] == colours.clut_id);
    for (std::size_t j = 0; j < static_cast<std::size_t>(count); ++j) {
        const auto& [y, u, v, a] = colours.entries[j];
        const auto sent = data.subspan(2 + 6 * j, 6);
        require(sent[0] == static_cast<std::uint8_t>(j) && (sent[1] & 1) == 1);
        require(sent[2] == (a == 0 ? 0 : std::max<std::uint8_t>(y, y == 0 ? 16 : 0)));
        require(sent[3] == v && sent[4] == u && sent[5] == 255 - a);
    }
}

/// The lines of one field as they lie in plane 0; without pixels where the palette has no code for them.
std::vector<pixel_row> field_of(const subpicture_region& region, std::uint32_t first_line)
{
    std::vector<pixel_row> lines;
    if (region.chroma != chroma_yuvp || region.palette == nullptr)
        return lines;
    const std::int32_t colours = region.palette->entry_count;
    const bool coded = colours == 4 || colours == 16 || colours == 256;
    const plane& indices = region.picture->planes[0];
    for (std::uint32_t line = first_line; line < region.height; line += 2) {
        const auto* const row = indices.pixels + std::ptrdiff_t{line} * indices.pitch;
        lines.push_back(coded ? pixel_row(row, row + region.width) : pixel_row{});
    }
    return lines;
}

void check_object(const subtitle_segment& segment, const subpicture_region& region)
{
    const auto object = read_object(segment.data);
    require(object.problem.empty() && (segment.data[2] & 0x0FU) == 0); // pixels, and nothing reserved
    require((segment.offset + 6 + segment.data.size()) % 2 == 0);
    require(object.top.rows == field_of(region, 0));
    const bool has_bottom = region.picture->top_field_only != 1;
    require(object.bottom.rows == (has_bottom ? field_of(region, 1) : std::vector<pixel_row>{}));
}

/// Hands the segments of one type, in their order, to the regions that have one.
template <typename check>
void for_each_pair(const std::vector<subtitle_segment>& segments, std::uint32_t type,
    const region_list& regions, const check& matches)
{
    auto region = regions.begin();
    for (const auto& segment : segments) {
        if (segment.type != type)
            continue;
        while (type != object_data_segment && has_no_palette(*region))
            ++region;
        matches(segment, **region++);
    }
}

} // namespace

void check_display_set(const block& data, const subpicture& page)
{
    require(data.length <= display_set_capacity);
    require(data.buffer[0] == 0x20 && data.buffer[1] == 0 && data.buffer[2] == 0x0F);
    if (data.length == display_set_capacity)
        return;

    const auto [segments, problem] = read_segments({data.buffer, data.length});
    const region_list regions = regions_of(page);
    require(problem.empty());
    std::vector<std::uint32_t> types;
    for (const auto& segment : segments) {
        require(segment.page_id == page.page_id);
        types.push_back(segment.type);
    }
    require(types == expected_types(regions));

    check_page(segments.front().data, regions);
    for_each_pair(segments, region_composition, regions,
        [](const auto& segment, const auto& region) { check_region(segment.data, region); });
    for_each_pair(segments, clut_definition, regions,
        [](const auto& segment, const auto& region) { check_clut(segment.data, *region.palette); });
    for_each_pair(segments, object_data_segment, regions,
        [](const auto& segment, const auto& region) { check_object(segment, region); });
}

void check_refresh_set(const block& data, const subpicture& page)
{
    const region_list regions = regions_of(page);
    require(data.length == std::min(17 + 6 * regions.size(), std::size_t{refresh_set_capacity}));
    if (17 + 6 * regions.size() > refresh_set_capacity)
        return;
    const auto [segments, problem] = read_segments({data.buffer, data.length});
    require(problem.empty() && segments.size() == 2);
    check_page(segments.front().data, regions);
}

void encode_and_check(subpicture& page)
{
    const owned_encoder opened(OpenEncoder());
    const owned_block display_set(opened ? Encode(opened.get(), &page) : nullptr);
    if (!display_set)
        return;
    check_display_set(*display_set, page);
    if (const owned_block refresh{EncodeRefreshDisplaySet(opened.get(), &page)})
        check_refresh_set(*refresh, page);
}

std::size_t pixels_of(const subpicture& page)
{
    std::size_t pixels = 0;
    for (const auto* region : regions_of(page))
        pixels += std::size_t{region->width} * region->height;
    return pixels;
}
