#include "png_image.h"

#include <cstdio>

namespace {

bool scale(cairo_t* context, const png_image& image, const region_format& format, std::uint32_t slots)
{
    const double width = format.width;
    const double height = format.height;
    cairo_scale(context, width / image.width, height / (slots * image.height));
    if (cairo_status(context) == CAIRO_STATUS_SUCCESS)
        return true;
    std::fprintf(stderr, "Error: Cannot scale image %s (%d,%d) to (%d,%d) : %s\n", image.path,
        static_cast<int>(image.width), static_cast<int>(image.height), static_cast<int>(format.width),
        static_cast<int>(format.height), cairo_status_to_string(cairo_status(context)));
    return false;
}

bool use_as_source(cairo_t* context, const png_image& image, double y)
{
    cairo_set_source_surface(context, image.surface.get(), 0, y);
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

} // namespace

png_image load_png(const char* path)
{
    png_image image{.path = path};
    image.surface.reset(cairo_image_surface_create_from_png(path));
    image.status = cairo_surface_status(image.surface.get());
    image.width = static_cast<std::uint32_t>(cairo_image_surface_get_width(image.surface.get()));
    image.height = static_cast<std::uint32_t>(cairo_image_surface_get_height(image.surface.get()));
    return image;
}

bool paint_scaled(
    cairo_t* context, const png_image& image, const region_format& format, const slot_position& position)
{
    return scale(context, image, format, position.slots) && use_as_source(context, image, position.y)
        && paint(context, image);
}
