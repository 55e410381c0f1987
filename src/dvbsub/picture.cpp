#include "picture.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <malloc.h>

namespace {

constexpr std::uint32_t alignment = 16;
constexpr std::uint64_t block_overhead = 96;
constexpr std::uintptr_t block_record_size = 16;
constexpr std::uintptr_t block_headroom = 32;
constexpr std::uint32_t recorded_bits_per_pixel = 32;
constexpr std::uint32_t bits_per_plane = 8;
static_assert(recorded_bits_per_pixel / bits_per_plane == plane_total);
static_assert(sizeof(block) <= block_record_size);

template <typename unsigned_integer> constexpr unsigned_integer round_up(unsigned_integer value)
{
    return (value + alignment - 1) / alignment * alignment;
}

/// No allocation is larger than the greatest difference of two addresses.
constexpr bool allocatable(std::uint64_t size_bytes)
{
    return size_bytes <= std::uint64_t{std::numeric_limits<std::ptrdiff_t>::max()};
}

/// Sizes that do not fit a plane's signed fields come back as more than any allocation holds.
constexpr std::uint64_t picture_size(std::uint32_t width, std::uint32_t height)
{
    constexpr std::uint32_t largest = std::numeric_limits<std::int32_t>::max();
    if (width > largest || height > largest)
        return std::numeric_limits<std::uint64_t>::max();
    return plane_total * std::uint64_t{width} * height;
}

void lay_out_planes(picture& target)
{
    std::uint8_t* pixels = target.buffer;
    for (plane& part : target.planes) {
        part = {.pixels = pixels,
            .lines = static_cast<std::int32_t>(target.format.height),
            .pitch = static_cast<std::int32_t>(target.format.width)};
        pixels += std::ptrdiff_t{part.lines} * part.pitch;
    }
}

palette* copy_palette(const palette* source)
{
    auto* const copy = static_cast<palette*>(std::calloc(1, sizeof(palette)));
    if (copy != nullptr && source != nullptr)
        *copy = *source;
    return copy;
}

} // namespace

block* block_New(std::uint32_t size_bytes)
{
    const std::uint64_t total = round_up(std::uint64_t{size_bytes}) + block_overhead;
    void* const memory = allocatable(total) ? std::malloc(static_cast<std::size_t>(total)) : nullptr;
    if (memory == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    auto* const bytes = static_cast<std::uint8_t*>(memory);
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t data = round_up(address + block_record_size) + block_headroom;
    auto* const made = static_cast<block*>(memory);
    *made = {.length = size_bytes, .buffer = bytes + (data - address)};
    return made;
}

std::int32_t allocatePicture(picture& target, std::uint32_t chroma, std::uint32_t width, std::uint32_t height)
{
    target.format.chroma = chroma;
    target.format.width = width;
    target.format.height = height;
    target.format.x = 0;
    target.format.y = 0;
    target.format.bits_per_pixel = recorded_bits_per_pixel;
    target.plane_count = plane_total;

    const std::uint64_t total = picture_size(width, height);
    target.buffer = allocatable(total)
        ? static_cast<std::uint8_t*>(memalign(alignment, static_cast<std::size_t>(total)))
        : nullptr;
    if (target.buffer == nullptr) {
        target.plane_count = 0;
        return -1;
    }
    lay_out_planes(target);
    return 0;
}

picture* picture_New(const region_format& format)
{
    auto* const made = static_cast<picture*>(std::calloc(1, sizeof(picture)));
    if (made == nullptr)
        return nullptr;
    if (allocatePicture(*made, format.chroma, format.width, format.height) != 0) {
        std::free(made);
        return nullptr;
    }
    made->format = format;
    made->top_field_only = 0;
    made->field_count = 2;
    return made;
}

subpicture_region* subpicture_region_New(const region_format& format)
{
    auto* const region = static_cast<subpicture_region*>(std::calloc(1, sizeof(subpicture_region)));
    if (region == nullptr)
        return nullptr;
    region->chroma = format.chroma;
    region->width = format.width;
    region->height = format.height;
    region->format_x = format.x;
    region->format_y = format.y;
    region->bits_per_pixel = format.bits_per_pixel;
    region->palette = copy_palette(format.palette);
    if (region->palette != nullptr)
        region->picture = picture_New(format);
    if (region->picture == nullptr) {
        subpicture_region_Delete(region);
        return nullptr;
    }
    return region;
}

void subpicture_region_Delete(subpicture_region* region)
{
    if (region == nullptr)
        return;
    if (region->picture != nullptr) {
        std::free(region->picture->buffer);
        std::free(region->picture);
    }
    std::free(region->palette);
    std::free(region);
}

void subpicture_region_ChainDelete(subpicture_region* first)
{
    while (first != nullptr) {
        subpicture_region* const next = first->next;
        subpicture_region_Delete(first);
        first = next;
    }
}

subpicture* subpicture_New(std::uint16_t page_id, std::uint32_t width, std::uint32_t height)
{
    auto* const page = static_cast<subpicture*>(std::calloc(1, sizeof(subpicture)));
    if (page == nullptr)
        return nullptr;
    page->page_id = page_id;
    page->regions = nullptr;
    page->width = width;
    page->height = height;
    return page;
}

void subpicture_Delete(subpicture* page)
{
    subpicture_region_ChainDelete(page->regions);
    page->regions = nullptr;
    std::free(page);
}

subpicture** SubpictureChain(subpicture** head, subpicture* page)
{
    page->next = *head;
    *head = page;
    return head;
}
