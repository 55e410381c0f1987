#pragma once

#include "canvas.h"
#include "reuse.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// A PNG file as it came out of scaling onto a region with nothing on it.
struct scaled_image {
    digest key{};            ///< of the file's bytes and of the place
    owned_surface pixels{};  ///< the rows that are not transparent: as wide as the region
    std::int32_t top = 0;    ///< row of the region that they begin at
    std::uint32_t width = 0; ///< of the file's image, pixels
    std::uint32_t height = 0;
    std::size_t size_bytes = 0;
};

/// Scaled images that will probably be painted again: articles have many of their icons and logos in
/// common. No file is known by its name, so one that is replaced meanwhile is not mistaken.
struct image_cache {
    std::array<scaled_image, 64> images{}; ///< the last used comes first; those without a size are free
};

/// What all images of a cache may take together.
inline constexpr std::size_t image_cache_limit_bytes = std::size_t{512} * 1024;

/// Larger regions are not worth a place: a few of them would drive all icons out.
inline constexpr std::size_t cached_region_limit_bytes = image_cache_limit_bytes / 2;

/// The image of that key, which becomes the last used; null when it is not there.
[[nodiscard]] const scaled_image* find_image(image_cache& cache, const digest& key);

/// Takes an image in. From the last used on, as many stay as fit beside it; the others are dropped. Returns
/// it where it is until the next call; null when it is larger than all may be together.
const scaled_image* keep_image(image_cache& cache, scaled_image image);
