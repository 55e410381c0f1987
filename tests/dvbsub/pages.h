#pragma once

#include "encoder.h"
#include "picture.h"
#include "releaser.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

using page_owner = std::unique_ptr<subpicture, releaser<subpicture_Delete>>;
using region_owner = std::unique_ptr<subpicture_region, releaser<subpicture_region_Delete>>;
using encoder_owner = std::unique_ptr<encoder, releaser<CloseEncoder>>;
using block_owner = std::unique_ptr<block, releaser<std::free>>;

/// An empty display set of 720 x 576 with page_id 1.
page_owner new_page();

/// Appends a "YUVA" region, all of one colour, at (10, 20).
subpicture_region& add_region(subpicture& page, std::uint32_t width, std::uint32_t height,
    const palette_entry& colour = {235, 128, 128, 255});

/// Appends a palettised region of so many entries, all (0, 0, 0, 0), with those indices in raster order.
subpicture_region& add_indexed_region(subpicture& page, std::uint32_t width, std::int32_t entry_count,
    const std::vector<std::uint8_t>& indices);

/// Sets the pixel of that number, in raster order.
void set_pixel(subpicture_region& region, std::size_t pixel, const palette_entry& colour);

/// Indices below `colours` in runs of mixed lengths; the same every time.
std::vector<std::uint8_t> mixed_runs(std::size_t pixels, std::uint32_t colours);

/// Plane 0, in raster order.
std::vector<std::uint8_t> indices_of(const subpicture_region& region);

std::span<const std::uint8_t> bytes_of(const block& data);
