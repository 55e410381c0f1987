#include "surface_region.h"

#include "lists.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

std::uint32_t pixel_at(const unsigned char* row, std::uint32_t column)
{
    std::uint32_t argb = 0;
    std::memcpy(&argb, row + sizeof argb * column, sizeof argb);
    return argb;
}

/// Converts one line, to the bytes of each plane from the offset on. A pixel like the one before it, as
/// most are, keeps what that one became.
void convert_line(const unsigned char* row, const picture& target, std::ptrdiff_t offset)
{
    std::uint8_t* const y = target.planes[0].pixels + offset;
    std::uint8_t* const u = target.planes[1].pixels + offset;
    std::uint8_t* const v = target.planes[2].pixels + offset;
    std::uint8_t* const a = target.planes[3].pixels + offset;
    std::uint32_t argb = 0;
    yuva pixel = yuva_of(argb);
    for (std::uint32_t column = 0; column < target.format.width; ++column) {
        if (const std::uint32_t next = pixel_at(row, column); next != argb) {
            argb = next;
            pixel = yuva_of(argb);
        }
        y[column] = pixel.y;
        u[column] = pixel.u;
        v[column] = pixel.v;
        a[column] = pixel.a;
    }
}

void convert(cairo_surface_t* surface, const picture& target)
{
    const unsigned char* row = cairo_image_surface_get_data(surface);
    const int stride_bytes = cairo_image_surface_get_stride(surface);
    for (std::uint32_t line = 0; line < target.format.height; ++line, row += stride_bytes)
        convert_line(row, target, static_cast<std::ptrdiff_t>(line) * target.planes[0].pitch);
}

} // namespace

std::int32_t fail_drawing(int error)
{
    errno = error;
    return drawing_failed;
}

int error_of(cairo_status_t status)
{
    switch (status) {
    case CAIRO_STATUS_NO_MEMORY:
        return ENOMEM;
    case CAIRO_STATUS_INVALID_SIZE:
        return EOVERFLOW;
    default:
        return EINVAL;
    }
}

bool is_on_display(const region_format& format, const subpicture& display_set)
{
    if (format.x <= display_set.width && format.y <= display_set.height)
        return true;
    std::fputs("Error: Region out of display\n", stderr);
    errno = ERANGE;
    return false;
}

bool is_left_out(const region_format& format)
{
    if (format.width != 0 && format.height != 0)
        return false;
    std::fprintf(stderr, "Empty region of %ux%u pixels at (%u,%u) left out\n", format.width, format.height,
        format.x, format.y);
    return true;
}

std::int32_t AddSurfaceRegion(
    owned_surface surface, owned_context /*context*/, const region_format& format, subpicture& display_set)
{
    if (is_left_out(format))
        return drawing_done;
    cairo_surface_flush(surface.get());
    if (cairo_image_surface_get_data(surface.get()) == nullptr) {
        std::fprintf(stderr, "Error: Cannot draw region of %ux%u pixels: %s\n", format.width, format.height,
            cairo_status_to_string(cairo_surface_status(surface.get())));
        return fail_drawing(error_of(cairo_surface_status(surface.get())));
    }
    auto* region = subpicture_region_New(format);
    if (region == nullptr) {
        std::fprintf(stderr, "Error: Cannot allocate region of %ux%u pixels\n", format.width, format.height);
        return fail_drawing(ENOMEM);
    }
    region->x = format.x;
    region->y = format.y;
    convert(surface.get(), *region->picture);
    append_record(&display_set.regions, region);
    return drawing_done;
}
