#include "pages.h"

#include <algorithm>
#include <random>

namespace {

subpicture_region& append(subpicture& page, const region_format& format)
{
    subpicture_region** place = &page.regions;
    while (*place != nullptr)
        place = &(*place)->next;
    *place = subpicture_region_New(format);
    (*place)->x = 10;
    (*place)->y = 20;
    return **place;
}

std::size_t pixels_of(const subpicture_region& region)
{
    return std::size_t{region.width} * region.height;
}

} // namespace

page_owner new_page()
{
    return page_owner(subpicture_New(1, 720, 576));
}

subpicture_region& add_region(
    subpicture& page, std::uint32_t width, std::uint32_t height, const palette_entry& colour)
{
    auto& region = append(page, {.chroma = chroma_yuva, .width = width, .height = height});
    for (std::size_t pixel = 0; pixel < pixels_of(region); ++pixel)
        set_pixel(region, pixel, colour);
    return region;
}

subpicture_region& add_indexed_region(
    subpicture& page, std::uint32_t width, std::int32_t entry_count, const std::vector<std::uint8_t>& indices)
{
    const auto lines = width == 0 ? 0 : static_cast<std::uint32_t>(indices.size() / width);
    auto& region = append(page, {.chroma = chroma_yuvp, .width = width, .height = lines});
    region.palette->entry_count = entry_count;
    std::copy(indices.begin(), indices.end(), region.picture->buffer);
    return region;
}

void set_pixel(subpicture_region& region, std::size_t pixel, const palette_entry& colour)
{
    for (std::size_t k = 0; k < colour.size(); ++k)
        region.picture->planes[k].pixels[pixel] = colour[k];
}

std::vector<std::uint8_t> mixed_runs(std::size_t pixels, std::uint32_t colours)
{
    std::minstd_rand numbers(1);
    std::vector<std::uint8_t> indices;
    while (indices.size() < pixels) {
        const std::size_t longest = numbers() % 8 == 0 ? 600 : 12;
        const std::size_t length = std::min<std::size_t>(1 + numbers() % longest, pixels - indices.size());
        indices.insert(
            indices.end(), length, static_cast<std::uint8_t>(numbers() % 3 == 0 ? 0 : numbers() % colours));
    }
    return indices;
}

std::vector<std::uint8_t> indices_of(const subpicture_region& region)
{
    return {region.picture->buffer, region.picture->buffer + pixels_of(region)};
}

std::span<const std::uint8_t> bytes_of(const block& data)
{
    return {data.buffer, data.length};
}
