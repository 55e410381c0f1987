#include "image_cache.h"

#include <algorithm>
#include <utility>

namespace {

/// Makes room at the front for an image of that size.
void make_room(image_cache& cache, std::size_t size_bytes)
{
    std::rotate(cache.images.begin(), cache.images.end() - 1, cache.images.end());
    cache.images.front() = {};
    for (scaled_image& image : cache.images) {
        size_bytes += image.size_bytes;
        if (size_bytes > image_cache_limit_bytes)
            image = {};
    }
}

} // namespace

const scaled_image* find_image(image_cache& cache, const digest& key)
{
    auto* const found = std::ranges::find_if(cache.images,
        [&key](const scaled_image& image) { return image.size_bytes != 0 && image.key == key; });
    if (found == cache.images.end())
        return nullptr;
    std::rotate(cache.images.begin(), found, found + 1);
    return &cache.images.front();
}

const scaled_image* keep_image(image_cache& cache, scaled_image image)
{
    if (image.size_bytes > image_cache_limit_bytes)
        return nullptr;
    make_room(cache, image.size_bytes);
    cache.images.front() = std::move(image);
    return &cache.images.front();
}
