#include "image_painting.h"

#include "canvas.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace {

bool scale(cairo_t* context, const png_image& image)
{
    const double width = image.place.width;
    const double height = image.place.height;
    cairo_scale(context, width / image.width, height / (image.place.slots * image.height));
    if (cairo_status(context) == CAIRO_STATUS_SUCCESS)
        return true;
    std::fprintf(stderr, "Error: Cannot scale image %s (%d,%d) to (%d,%d) : %s\n", image.path,
        static_cast<int>(image.width), static_cast<int>(image.height), static_cast<int>(image.place.width),
        static_cast<int>(image.place.height), cairo_status_to_string(cairo_status(context)));
    return false;
}

bool use_as_source(cairo_t* context, const png_image& image, cairo_surface_t* surface, double y)
{
    cairo_set_source_surface(context, surface, 0, y);
    if (cairo_status(context) == CAIRO_STATUS_SUCCESS)
        return true;
    std::fprintf(stderr, "Error: Cannot use image %s as pattern: %s\n", image.path,
        cairo_status_to_string(cairo_status(context)));
    return false;
}

bool paint(cairo_t* context, const png_image& image)
{
    cairo_paint(context);
    if (cairo_status(context) == CAIRO_STATUS_SUCCESS)
        return true;
    std::fprintf(stderr, "Error: Cannot paint image %s in region: %s\n", image.path,
        cairo_status_to_string(cairo_status(context)));
    return false;
}

/// Rows of an image surface.
struct row_range {
    int begin = 0;
    int end = 0;
};

const unsigned char* row_of(cairo_surface_t* surface, int row)
{
    return cairo_image_surface_get_data(surface)
        + std::ptrdiff_t{row} * cairo_image_surface_get_stride(surface);
}

/// Those between the first and the last one that is not wholly transparent.
row_range drawn_rows(cairo_surface_t* surface)
{
    const int stride_bytes = cairo_image_surface_get_stride(surface);
    const auto is_drawn = [&](int row) {
        const unsigned char* const bytes = row_of(surface, row);
        return std::any_of(bytes, bytes + stride_bytes, [](unsigned char byte) { return byte != 0; });
    };
    row_range rows{.end = cairo_image_surface_get_height(surface)};
    while (rows.begin < rows.end && !is_drawn(rows.begin))
        ++rows.begin;
    while (rows.begin < rows.end && !is_drawn(rows.end - 1))
        --rows.end;
    return rows;
}

/// Those rows by themselves.
scaled_image cut_rows(cairo_surface_t* surface)
{
    const row_range rows = drawn_rows(surface);
    const unsigned char* const begin = row_of(surface, rows.begin);
    const unsigned char* const end = row_of(surface, rows.end);
    scaled_image cut;
    cut.top = rows.begin;
    cut.size_bytes = static_cast<std::size_t>(end - begin);
    cut.pixels.reset(cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, cairo_image_surface_get_width(surface), rows.end - rows.begin));
    if (cairo_surface_status(cut.pixels.get()) != CAIRO_STATUS_SUCCESS)
        return {};
    std::copy(begin, end, cairo_image_surface_get_data(cut.pixels.get()));
    cairo_surface_mark_dirty(cut.pixels.get());
    return cut;
}

/// The image alone on a surface like that of the context, in its scale. No rows when this fails, or when
/// there is nothing to see.
scaled_image draw_alone(cairo_t* like, const png_image& image)
{
    cairo_surface_t* const target = cairo_get_target(like);
    const canvas alone =
        new_canvas(cairo_image_surface_get_width(target), cairo_image_surface_get_height(target));
    // So that cairo lays the image over what is there, as on the banner, and does not copy it.
    cairo_surface_mark_dirty(alone.surface.get());
    cairo_matrix_t matrix;
    cairo_get_matrix(like, &matrix);
    cairo_set_matrix(alone.context.get(), &matrix);
    cairo_set_source_surface(alone.context.get(), image.surface.get(), 0, image.place.y);
    cairo_paint(alone.context.get());
    cairo_surface_flush(alone.surface.get());
    return cairo_status(alone.context.get()) == CAIRO_STATUS_SUCCESS ? cut_rows(alone.surface.get())
                                                                     : scaled_image{};
}

std::size_t size_bytes(cairo_surface_t* surface)
{
    return static_cast<std::size_t>(cairo_image_surface_get_stride(surface))
        * static_cast<std::size_t>(cairo_image_surface_get_height(surface));
}

/// Scales the image for this region and those to come. Null when it cannot be kept.
const scaled_image* scale_for_cache(cairo_t* context, const png_image& image)
{
    if (size_bytes(cairo_get_target(context)) > cached_region_limit_bytes)
        return nullptr;
    scaled_image scaled = draw_alone(context, image);
    if (scaled.size_bytes == 0)
        return nullptr;
    scaled.key = image.key;
    scaled.width = image.width;
    scaled.height = image.height;
    return keep_image(*image.cache, std::move(scaled));
}

bool paint_again(cairo_t* context, const png_image& image, const scaled_image& scaled)
{
    cairo_save(context);
    cairo_identity_matrix(context);
    if (!use_as_source(context, image, scaled.pixels.get(), scaled.top) || !paint(context, image))
        return false;
    cairo_restore(context);
    return true;
}

} // namespace

bool paint_scaled(cairo_t* context, const png_image& image)
{
    if (!scale(context, image))
        return false;
    const scaled_image* scaled = image.scaled;
    if (scaled == nullptr && image.cache != nullptr)
        scaled = scale_for_cache(context, image);
    if (scaled != nullptr)
        return paint_again(context, image, *scaled);
    return use_as_source(context, image, image.surface.get(), image.place.y) && paint(context, image);
}
