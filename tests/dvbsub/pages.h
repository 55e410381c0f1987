#pragma once

#include "encoder.h"
#include "handles.h"
#include "picture.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

using page_owner = std::unique_ptr<subpicture, releaser<subpicture_Delete>>;
using region_owner = std::unique_ptr<subpicture_region, releaser<subpicture_region_Delete>>;
using encoder_owner = std::unique_ptr<encoder, releaser<CloseEncoder>>;
using block_owner = std::unique_ptr<block, releaser<std::free>>;

/// An empty display set of 720 x 576 with page_id 1.
inline page_owner new_page()
{
    return page_owner(subpicture_New(1, 720, 576));
}

/// Sets the pixel of that number, in raster order.
inline void set_pixel(subpicture_region& region, std::size_t pixel, const palette_entry& colour)
{
    for (std::size_t k = 0; k < colour.size(); ++k)
        region.picture->planes[k].pixels[pixel] = colour[k];
}

/// Appends a "YUVA" region, all of one colour, at (10, 20).
inline subpicture_region& add_region(subpicture& page, std::uint32_t width, std::uint32_t height,
    const palette_entry& colour = {235, 128, 128, 255})
{
    subpicture_region** place = &page.regions;
    while (*place != nullptr)
        place = &(*place)->next;
    *place = subpicture_region_New({.chroma = chroma_yuva, .width = width, .height = height});
    (*place)->x = 10;
    (*place)->y = 20;
    for (std::size_t pixel = 0; pixel < std::size_t{width} * height; ++pixel)
        set_pixel(**place, pixel, colour);
    return **place;
}

/// Appends a palettised region of so many entries, all (0, 0, 0, 0), with those indices in raster order.
inline subpicture_region& add_indexed_region(
    subpicture& page, std::uint32_t width, std::int32_t entry_count, const std::vector<std::uint8_t>& indices)
{
    auto& region = add_region(page, width, static_cast<std::uint32_t>(indices.size() / width));
    region.chroma = chroma_yuvp;
    region.palette->entry_count = entry_count;
    std::ranges::copy(indices, region.picture->buffer);
    return region;
}

/// Plane 0, in raster order.
inline std::vector<std::uint8_t> indices_of(const subpicture_region& region)
{
    return {region.picture->buffer, region.picture->buffer + std::size_t{region.width} * region.height};
}

inline std::span<const std::uint8_t> bytes_of(const block& data)
{
    return {data.buffer, data.length};
}
