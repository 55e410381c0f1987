#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

/// Four characters in a word whose lowest-addressed byte is the first of them.
constexpr std::uint32_t chroma_code(const char (&name)[5])
{
    return std::bit_cast<std::uint32_t>(std::array{name[0], name[1], name[2], name[3]});
}

/// Y, U (blue difference), V (red difference) and A (opacity, 255 is opaque), one plane each.
inline constexpr std::uint32_t chroma_yuva = chroma_code("YUVA");
/// Plane 0 holds an index into the region's palette for each pixel; the other planes mean nothing.
inline constexpr std::uint32_t chroma_yuvp = chroma_code("YUVP");

inline constexpr std::size_t plane_total = 4;
inline constexpr std::size_t palette_capacity = 256;

/// One colour: Y, U, V and A, in the order of the planes.
using palette_entry = std::array<std::uint8_t, plane_total>;

/// The colours of a region, sent as one CLUT. Copied whole, never shared.
struct palette {
    std::uint8_t clut_id = 0;     ///< CLUT_id under which it is sent
    std::int32_t entry_count = 0; ///< valid entries: 0, 4, 16 or 256 can be encoded
    std::array<palette_entry, palette_capacity> entries{};
};

/// What a region is made from.
struct region_format {
    std::uint32_t chroma = 0;
    std::uint32_t width = 0;          ///< pixels
    std::uint32_t height = 0;         ///< lines
    std::uint32_t x = 0;              ///< position on the display, pixels from the left
    std::uint32_t y = 0;              ///< position on the display, lines from the top
    std::uint32_t bits_per_pixel = 0; ///< recorded only
    ::palette* palette = nullptr;     ///< borrowed: colours to copy into the region, or null
};

/// One byte for each pixel; that of column c in line r is `pixels[r * pitch + c]`.
struct plane {
    std::uint8_t* pixels = nullptr;
    std::int32_t lines = 0;
    std::int32_t pitch = 0; ///< bytes from one line to the next: the width
};

/// The pixels of a region: four planes, one behind the other, in one allocation.
struct picture {
    region_format format{};
    std::uint8_t* buffer = nullptr; ///< owned, 16-byte aligned; plane 0 begins here
    std::array<plane, plane_total> planes{};
    std::uint32_t plane_count = 0;   ///< 4; 0 after a failed allocation
    std::uint8_t top_field_only = 0; ///< 1: the bottom field is not coded
    std::uint32_t field_count = 0;   ///< lines from one to the next of the same field: 2
};

/// Stands for the pixels of a picture. 128 bits: two pictures with the same digest would show a viewer the
/// wrong one, so they must not be met in practice. No defence against somebody who looks for them.
using pixel_digest = std::array<std::uint64_t, 2>;

struct coded_region;

/// One rectangle of a display set.
struct subpicture_region {
    std::uint32_t chroma = 0;
    std::uint32_t width = 0;    ///< pixels
    std::uint32_t height = 0;   ///< lines
    std::uint32_t format_x = 0; ///< as the format gave it; the page is made from `x` and `y`
    std::uint32_t format_y = 0;
    std::uint32_t bits_per_pixel = 0;
    ::palette* palette = nullptr; ///< owned
    ::picture* picture = nullptr; ///< owned
    std::uint32_t x = 0;          ///< position on the display, pixels from the left; the caller sets it
    std::uint32_t y = 0;          ///< position on the display, lines from the top; the caller sets it
    subpicture_region* next = nullptr;

    // Set by an encoder that uses coded regions again.
    pixel_digest drawn{}; ///< of the picture before its conversion
    const coded_region* coded =
        nullptr; ///< borrowed: has been coded with these pixels; null: they are still to be
};

/// One display set: a page of ETSI EN 300 743.
struct subpicture {
    std::uint16_t page_id = 0;
    subpicture* next = nullptr;
    subpicture_region* regions = nullptr; ///< owned; region_id and object_id count along this list
    std::uint32_t width = 0;              ///< of the display, pixels
    std::uint32_t height = 0;             ///< of the display, lines
};

/// The bytes of one PES_data_field, in the allocation of the record: one `free` releases both.
struct block {
    std::uint32_t length = 0;       ///< valid bytes at `buffer`
    std::uint8_t* buffer = nullptr; ///< 16-byte aligned, with at least 32 bytes of ours before it
};

/// A block with room for `size_bytes`, which is also its `length`; the data are not cleared. The
/// caller owns it. Null when there is no memory.
[[nodiscard]] block* block_New(std::uint32_t size_bytes);

/// Lays out the four planes and allocates them, not cleared. Sets the format's chroma, width and
/// height, clears its position and records 32 bits per pixel. Returns 0, or -1 and no planes when
/// there is no memory for so many pixels.
[[nodiscard]] std::int32_t allocatePicture(
    picture& target, std::uint32_t chroma, std::uint32_t width, std::uint32_t height);

/// A picture of that format, both fields to be coded, its pixels not cleared. The caller owns it and
/// its `buffer`, and releases each with `free`. Null when there is no memory.
[[nodiscard]] picture* picture_New(const region_format& format);

/// A region of that format with a picture and a copy of the format's palette (without one: an empty
/// palette) of its own, at (0, 0) and in no list. The caller owns it. Null when there is no memory.
[[nodiscard]] subpicture_region* subpicture_region_New(const region_format& format);

/// Releases the region with its picture and palette, without unlinking it; or every region of the
/// list. Null does nothing.
void subpicture_region_Delete(subpicture_region* region);
void subpicture_region_ChainDelete(subpicture_region* first);

/// An empty display set for a display of that size. The caller owns it. Null when there is no memory.
[[nodiscard]] subpicture* subpicture_New(std::uint16_t page_id, std::uint32_t width, std::uint32_t height);

/// Releases the display set, which is not null, with its regions.
void subpicture_Delete(subpicture* page);

/// Puts the display set before the list whose head is at `head`. Returns `head`.
subpicture** SubpictureChain(subpicture** head, subpicture* page);
