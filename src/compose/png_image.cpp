#include "png_image.h"

#include "handles.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <span>
#include <sys/stat.h>

namespace {

constexpr std::size_t read_size_bytes = 4096;
constexpr off_t digest_limit_bytes = 4 << 20; ///< what follows an image in a larger file may have no end

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

/// The digest of a whole file, which is at its front before and afterwards. Nothing when it cannot be
/// read twice or is very large.
std::optional<digest> digest_of(std::FILE* file)
{
    struct stat information { };
    if (fstat(fileno(file), &information) != 0 || !S_ISREG(information.st_mode)
        || information.st_size > digest_limit_bytes)
        return std::nullopt;
    digest sum;
    std::array<std::uint8_t, read_size_bytes> bytes{};
    for (std::size_t count = bytes.size(); count == bytes.size();) {
        count = std::fread(bytes.data(), 1, bytes.size(), file);
        add_bytes(sum, std::span(bytes).first(count));
    }
    const bool complete = std::ferror(file) == 0;
    std::rewind(file);
    return complete ? std::optional(sum) : std::nullopt;
}

void add_place(digest& sum, const image_place& place)
{
    add_number(sum, place.width);
    add_number(sum, place.height);
    add_number(sum, place.slots);
    add_number(sum, std::bit_cast<std::uint64_t>(place.y));
}

void take_size(png_image& image, std::uint32_t width, std::uint32_t height)
{
    image.width = width;
    image.height = height;
}

void take_surface(png_image& image, cairo_surface_t* decoded)
{
    image.surface.reset(decoded);
    image.status = cairo_surface_status(decoded);
    take_size(image, static_cast<std::uint32_t>(cairo_image_surface_get_width(decoded)),
        static_cast<std::uint32_t>(cairo_image_surface_get_height(decoded)));
}

/// Whether a region with this image on nothing, in eight bits, says all of it.
bool has_eight_bits(cairo_surface_t* surface)
{
    const cairo_format_t format = cairo_image_surface_get_format(surface);
    return format == CAIRO_FORMAT_ARGB32 || format == CAIRO_FORMAT_RGB24;
}

void load_for_cache(png_image& image, std::FILE* file, image_cache& cache)
{
    const int error = errno; // what is said of a broken image tells nothing of its digest
    const auto sum = digest_of(file);
    errno = error;
    if (sum) {
        image.cache = &cache;
        image.key = *sum;
        add_place(image.key, image.place);
        image.scaled = find_image(cache, image.key);
    }
    if (image.scaled != nullptr)
        return take_size(image, image.scaled->width, image.scaled->height);
    take_surface(image, cairo_image_surface_create_from_png_stream(read_file, file));
    if (!has_eight_bits(image.surface.get()))
        image.cache = nullptr;
}

} // namespace

png_image load_png(const char* path, const image_place& place, image_cache* cache)
{
    png_image image{.path = path, .place = place};
    if (cache == nullptr) {
        take_surface(image, cairo_image_surface_create_from_png(path));
        return image;
    }
    if (const owned_file file{std::fopen(path, "rb")})
        load_for_cache(image, file.get(), *cache);
    else
        image.status = open_status(errno);
    return image;
}
