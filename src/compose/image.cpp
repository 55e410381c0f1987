#include "image.h"

#include "handles.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <utility>

namespace {

// Loading

/// As cairo tells why a file cannot be opened.
cairo_status_t open_status(int error)
{
    if (error == ENOMEM)
        return CAIRO_STATUS_NO_MEMORY;
    return error == ENOENT ? CAIRO_STATUS_FILE_NOT_FOUND : CAIRO_STATUS_READ_ERROR;
}

cairo_status_t read_file(void* file, unsigned char* bytes, unsigned int count)
{
    const std::size_t taken = std::fread(bytes, 1, count, static_cast<std::FILE*>(file));
    return taken == count ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_READ_ERROR;
}

/// Why a file that was opened could not be decoded. What is wrong with its content leaves no trace in
/// `errno`, a refused reading or allocation does.
int decoding_error(int last_error)
{
    return last_error == 0 ? EINVAL : last_error;
}

/// Nothing for pipes and devices, which have no content of their own.
std::optional<file_version> version_of(std::FILE* file)
{
    struct stat information { };
    if (fstat(fileno(file), &information) != 0 || !S_ISREG(information.st_mode))
        return std::nullopt;
    constexpr std::int64_t second_ns = 1'000'000'000;
    return file_version{.device = information.st_dev,
        .inode = information.st_ino,
        .size_bytes = information.st_size,
        .changed_ns = information.st_ctim.tv_sec * second_ns + information.st_ctim.tv_nsec};
}

/// The place with the height that follows from the image, where it does.
image_place with_height(const image_place& place, std::uint32_t image_width, std::uint32_t image_height)
{
    image_place complete = place;
    if (place.keep_ratio)
        complete.height = place.width * image_height / image_width;
    return complete;
}

placed_image decode(std::FILE* file, const image_place& place)
{
    placed_image image;
    errno = 0;
    image.surface.reset(cairo_image_surface_create_from_png_stream(read_file, file));
    image.status = cairo_surface_status(image.surface.get());
    if (image.status != CAIRO_STATUS_SUCCESS) {
        image.error = decoding_error(errno);
        return image;
    }
    image.width = static_cast<std::uint32_t>(cairo_image_surface_get_width(image.surface.get()));
    image.height = static_cast<std::uint32_t>(cairo_image_surface_get_height(image.surface.get()));
    image.place = with_height(place, image.width, image.height);
    return image;
}

placed_image image_of(const scaled_image& scaled)
{
    return {.width = scaled.width,
        .height = scaled.height,
        .place = with_height(scaled.place, scaled.width, scaled.height),
        .surface = owned_surface(cairo_surface_reference(scaled.rows.get())),
        .scaled_top = scaled.top};
}

// Scaling for the cache

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

/// Those rows by themselves; none when there is no memory.
scaled_image cut_rows(cairo_surface_t* surface)
{
    const row_range rows = drawn_rows(surface);
    owned_surface cut(cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, cairo_image_surface_get_width(surface), rows.end - rows.begin));
    if (cairo_surface_status(cut.get()) != CAIRO_STATUS_SUCCESS)
        return {};
    const unsigned char* const begin = row_of(surface, rows.begin);
    const unsigned char* const end = row_of(surface, rows.end);
    std::copy(begin, end, cairo_image_surface_get_data(cut.get()));
    cairo_surface_mark_dirty(cut.get());
    return {.rows = std::move(cut), .top = rows.begin, .size_bytes = static_cast<std::size_t>(end - begin)};
}

void scale(cairo_t* context, const placed_image& image)
{
    const double width = image.place.width;
    const double height = image.place.height;
    cairo_scale(context, width / image.width, height / (image.place.slots * image.height));
}

/// The image alone on a region of its place. No rows when this fails, or when there is nothing to see.
scaled_image draw_alone(const placed_image& image)
{
    const canvas alone =
        new_canvas(static_cast<int>(image.place.width), static_cast<int>(image.place.height));
    // So that cairo lays the image over what is there, as on the banner, and does not copy it.
    cairo_surface_mark_dirty(alone.surface.get());
    scale(alone.context.get(), image);
    cairo_set_source_surface(alone.context.get(), image.surface.get(), 0, image.place.y);
    cairo_paint(alone.context.get());
    cairo_surface_flush(alone.surface.get());
    if (cairo_status(alone.context.get()) != CAIRO_STATUS_SUCCESS)
        return {};
    return cut_rows(alone.surface.get());
}

/// Whether the image on nothing, in eight bits, says all of it, and a region of its place is small.
bool can_be_kept(const placed_image& image)
{
    constexpr std::uint64_t pixel_bytes = 4;
    const cairo_format_t format = cairo_image_surface_get_format(image.surface.get());
    const std::uint64_t region_bytes = pixel_bytes * image.place.width * image.place.height;
    return (format == CAIRO_FORMAT_ARGB32 || format == CAIRO_FORMAT_RGB24) && region_bytes != 0
        && region_bytes <= cached_region_limit_bytes;
}

/// Scales an image for this region and those to come. No rows when it cannot be kept.
scaled_image scale_for_cache(const placed_image& image, const file_version& file, const image_place& place)
{
    if (image.status != CAIRO_STATUS_SUCCESS || !can_be_kept(image))
        return {};
    scaled_image scaled = draw_alone(image);
    scaled.file = file;
    scaled.place = place;
    scaled.width = image.width;
    scaled.height = image.height;
    return scaled;
}

// Painting

bool use_as_source(cairo_t* context, const placed_image& image, double y, const char* path)
{
    cairo_set_source_surface(context, image.surface.get(), 0, y);
    if (cairo_status(context) == CAIRO_STATUS_SUCCESS)
        return true;
    std::fprintf(stderr, "Error: Cannot use image %s as pattern: %s\n", path,
        cairo_status_to_string(cairo_status(context)));
    errno = error_of(cairo_status(context));
    return false;
}

bool paint(cairo_t* context, const char* path)
{
    cairo_paint(context);
    if (cairo_status(context) == CAIRO_STATUS_SUCCESS)
        return true;
    std::fprintf(stderr, "Error: Cannot paint image %s in region: %s\n", path,
        cairo_status_to_string(cairo_status(context)));
    errno = error_of(cairo_status(context));
    return false;
}

bool paint_scaled_rows(cairo_t* context, const placed_image& image, const char* path)
{
    cairo_save(context);
    cairo_identity_matrix(context);
    if (!use_as_source(context, image, *image.scaled_top, path) || !paint(context, path))
        return false;
    cairo_restore(context);
    return true;
}

std::int32_t draw_image(
    const region_format& format, const placed_image& image, const char* path, subpicture& display_set)
{
    canvas drawn = new_canvas(format);
    if (!paint_image(drawn.context.get(), image, path))
        return drawing_failed;
    return AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), format, display_set);
}

} // namespace

const scaled_image* find_image(image_cache& cache, const file_version& file, const image_place& place)
{
    auto* const found = std::ranges::find_if(cache.images, [&](const scaled_image& image) {
        return image.size_bytes != 0 && image.file == file && image.place == place;
    });
    if (found == cache.images.end())
        return nullptr;
    std::rotate(cache.images.begin(), found, found + 1);
    return &cache.images.front();
}

const scaled_image& insert_image(image_cache& cache, scaled_image image)
{
    std::rotate(cache.images.begin(), cache.images.end() - 1, cache.images.end());
    cache.images.front() = std::move(image);
    std::size_t size_bytes = 0;
    for (scaled_image& kept : cache.images) {
        size_bytes += kept.size_bytes;
        if (size_bytes > image_cache_limit_bytes)
            kept = {};
    }
    return cache.images.front();
}

placed_image load_image(const char* path, const image_place& place, image_cache* cache)
{
    const owned_file file(std::fopen(path, "rb"));
    if (!file) {
        const int error = errno;
        return {.status = open_status(error), .error = error};
    }
    const auto version = cache != nullptr ? version_of(file.get()) : std::nullopt;
    if (!version)
        return decode(file.get(), place);
    if (const scaled_image* const scaled = find_image(*cache, *version, place))
        return image_of(*scaled);
    placed_image image = decode(file.get(), place);
    scaled_image scaled = scale_for_cache(image, *version, place);
    if (scaled.size_bytes == 0)
        return image;
    return image_of(insert_image(*cache, std::move(scaled)));
}

bool paint_image(cairo_t* context, const placed_image& image, const char* path)
{
    scale(context, image);
    if (cairo_status(context) != CAIRO_STATUS_SUCCESS) {
        std::fprintf(stderr, "Error: Cannot scale image %s (%d,%d) to (%d,%d) : %s\n", path,
            static_cast<int>(image.width), static_cast<int>(image.height),
            static_cast<int>(image.place.width), static_cast<int>(image.place.height),
            cairo_status_to_string(cairo_status(context)));
        errno = error_of(cairo_status(context));
        return false;
    }
    if (image.scaled_top)
        return paint_scaled_rows(context, image, path);
    return use_as_source(context, image, image.place.y, path) && paint(context, path);
}

std::int32_t AddImageSubtitle(
    region_format* format, const char* path, subpicture* display_set, bool keep_ratio, image_cache* cache)
{
    if (format == nullptr || path == nullptr || display_set == nullptr || format->width == 0)
        return fail_drawing(EINVAL);
    if (!keep_ratio && format->height == 0)
        return fail_drawing(EINVAL);
    if (!is_on_display(*format, *display_set))
        return drawing_failed;

    const placed_image image = load_image(path,
        {.width = format->width, .height = keep_ratio ? 0 : format->height, .keep_ratio = keep_ratio}, cache);
    if (image.status != CAIRO_STATUS_SUCCESS) {
        std::fprintf(
            stderr, "Error: Cannot render image %s: %s\n", path, cairo_status_to_string(image.status));
        return fail_drawing(image.error);
    }
    format->height = image.place.height;
    return is_left_out(*format) ? drawing_done : draw_image(*format, image, path, *display_set);
}
