#pragma once

#include "canvas.h"
#include "image_cache.h"
#include "picture.h"

#include <cstdint>
#include <string_view>

/// Where images come from.
struct image_source {
    std::string_view icon_directory; ///< path of the banner's icons, up to and with the last slash
    image_cache* cache = nullptr;    ///< borrowed; null: every image is decoded and scaled for itself
};

/// Where an image comes to lie. The region is divided into `slots` of equal height; the scale is
/// that which makes the image fill one of them.
struct image_place {
    std::uint32_t width = 0;  ///< of the region, pixels
    std::uint32_t height = 0; ///< pixels; 0 when it follows from the image
    std::uint32_t slots = 1;
    double y = 0; ///< of the image's top edge, in the scaled space
};

/// A PNG file's image, to be painted at one place.
struct png_image {
    const char* path = nullptr;                   ///< borrowed, for messages
    cairo_status_t status = CAIRO_STATUS_SUCCESS; ///< otherwise the file could not be loaded
    std::uint32_t width = 0;                      ///< in pixels
    std::uint32_t height = 0;
    image_place place{};
    owned_surface surface{};              ///< as decoded; null when it is found scaled
    const scaled_image* scaled = nullptr; ///< borrowed from the cache, until its next use
    digest key{};                         ///< by which it is to be kept
    image_cache* cache = nullptr;         ///< null when it is not to be kept
};

/// Loads an image, for a place if it is to be painted. With a cache the file is read, but not decoded again
/// when the same one has been painted at such a place.
png_image load_png(const char* path, const image_place& place = {}, image_cache* cache = nullptr);
