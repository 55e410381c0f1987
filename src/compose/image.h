#pragma once

#include "canvas.h"
#include "surface_region.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/// Tells the content of a file from every other without reading it: a file that is replaced, or written
/// to, gets another version.
struct file_version {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size_bytes = 0;
    std::int64_t changed_ns = 0; ///< since the epoch

    bool operator==(const file_version&) const = default;
};

/// Where an image comes to lie. The region is divided into `slots` of equal height; the scale is
/// that which makes the image fill one of them.
struct image_place {
    std::uint32_t width = 0;  ///< of the region, pixels
    std::uint32_t height = 0; ///< pixels
    std::uint32_t slots = 1;
    double y = 0;            ///< of the image's top edge, in the scaled space
    bool keep_ratio = false; ///< the height follows from the width and the image

    bool operator==(const image_place&) const = default;
};

/// What a PNG file looks like at its place.
struct scaled_image {
    file_version file{};
    image_place place{};
    std::uint32_t width = 0; ///< of the file's image, pixels
    std::uint32_t height = 0;
    owned_surface rows{}; ///< those that are not transparent, as wide as the region
    int top = 0;          ///< row of the region that they begin at
    std::size_t size_bytes = 0;
};

/// Scaled images that will probably be painted again: articles have many of their icons and logos in
/// common.
struct image_cache {
    std::array<scaled_image, 64> images{}; ///< the last used comes first; those without a size are free
};

/// What all images of a cache may take together.
inline constexpr std::size_t image_cache_limit_bytes = std::size_t{512} * 1024;

/// Images of larger regions are not kept: a few of them would drive all icons out.
inline constexpr std::size_t cached_region_limit_bytes = image_cache_limit_bytes / 2;

/// Looks up the file's image at the place, which becomes the last used. Null when it is not there; the
/// pointer holds until the next call.
[[nodiscard]] const scaled_image* find_image(
    image_cache& cache, const file_version& file, const image_place& place);

/// Inserts an image, of at most `image_cache_limit_bytes`, as the last used. Those used longest ago go.
/// Returns it where it is until the next call.
const scaled_image& insert_image(image_cache& cache, scaled_image image);

/// A PNG file's image on its way to a place.
struct placed_image {
    cairo_status_t status = CAIRO_STATUS_SUCCESS; ///< otherwise the file could not be loaded
    int error = 0;                                ///< why, as `errno` tells: EINVAL for what is no picture
    std::uint32_t width = 0;                      ///< of the file's image, pixels
    std::uint32_t height = 0;
    image_place place{};     ///< its height known
    owned_surface surface{}; ///< the file's image; with `scaled_top` the rows that scaling made of it
    std::optional<int> scaled_top = {}; ///< row of the region that those begin at
};

/// Loads a file for a place. With a cache the file is opened, but neither read nor scaled again while an
/// earlier result is there; null does without.
placed_image load_image(const char* path, const image_place& place, image_cache* cache);

/// Scales the drawing context of a region, which stays so, and paints the image at its place. When that
/// fails it prints "Error: Cannot scale image %s (%d,%d) to (%d,%d) : %s\n",
/// "Error: Cannot use image %s as pattern: %s\n" or "Error: Cannot paint image %s in region: %s\n" with
/// the path on standard error, leaves the reason in `errno` and returns false.
[[nodiscard]] bool paint_image(cairo_t* context, const placed_image& image, const char* path);

/// Draws a PNG file, stretched to the format's size, as a new region at the end of the display set. The
/// image lies on nothing: where it is transparent the region is too. With `keep_ratio` the format's
/// height follows from its width and the size of the image, and is written into the format; should it
/// become 0, the region is left out with a message. The cache may be null.
/// Fails without a message for a null argument, a width of 0 and, without `keep_ratio`, a height of
/// 0; otherwise with the messages of `is_on_display`, `paint_image` and `AddSurfaceRegion` or with
/// "Error: Cannot render image %s: %s\n".
[[nodiscard]] std::int32_t AddImageSubtitle(
    region_format* format, const char* path, subpicture* display_set, bool keep_ratio, image_cache* cache);
