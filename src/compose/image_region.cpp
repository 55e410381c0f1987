#include "image_region.h"

#include "canvas.h"
#include "image_painting.h"

#include <cstdio>
#include <utility>

namespace {

std::int32_t draw_image(region_format& format, const png_image& image, subpicture& display_set)
{
    canvas drawn = new_canvas(format);
    if (!paint_scaled(drawn.context.get(), image))
        return drawing_failed;
    return AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), format, display_set);
}

} // namespace

std::int32_t AddImageSubtitle(
    region_format* format, const char* path, subpicture* display_set, bool keep_ratio)
{
    return add_cached_image(format, path, display_set, keep_ratio, nullptr);
}

std::int32_t add_cached_image(
    region_format* format, const char* path, subpicture* display_set, bool keep_ratio, image_cache* cache)
{
    if (format == nullptr || path == nullptr || display_set == nullptr || format->width == 0)
        return drawing_failed;
    if (!keep_ratio && format->height == 0)
        return drawing_failed;
    if (!is_on_display(*format, *display_set))
        return drawing_failed;

    const image_place place{.width = format->width, .height = keep_ratio ? 0 : format->height};
    png_image image = load_png(path, place, cache);
    if (image.status != CAIRO_STATUS_SUCCESS) {
        std::fprintf(
            stderr, "Error: Cannot render image %s: %s\n", path, cairo_status_to_string(image.status));
        return drawing_failed;
    }
    if (keep_ratio)
        image.place.height = format->height = format->width * image.height / image.width;
    return is_left_out(*format) ? drawing_done : draw_image(*format, image, *display_set);
}
