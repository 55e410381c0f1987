#pragma once

#include "bit_writer.h"
#include "picture.h"
#include "reuse.h"

#include <cstdint>

struct region_size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// What goes on from one segment, and from one display set, to the next. The versions are sent
/// modulo 16.
struct encoder {
    std::int32_t page_version = 0;
    std::int32_t region_version = 0; ///< one counter for region composition and object data segments
    std::int32_t clut_version = 0;
    std::int32_t region_size_count = 0;
    region_size* region_sizes = nullptr; ///< owned; one for each region that a page has announced
    coded_regions* encoded = nullptr;    ///< borrowed: regions to use again, and to add to; null: none
};

/// An encoder for one display set and its refreshes. The caller owns it until `CloseEncoder`. Null
/// when there is no memory.
[[nodiscard]] encoder* OpenEncoder();

/// The PES_data_field (ETSI EN 300 743) of the whole display set, converted to palettes first if
/// it still is "YUVA"; cut at 64,000 bytes. The caller owns the block and releases it with one
/// `free`. Null, after a message on standard error where the display set is at fault, when it cannot
/// be encoded or holds no region (or is null), and when there is no memory; `errno` tells which: EINVAL or
/// ENOMEM.
[[nodiscard]] block* Encode(encoder* state, subpicture* page);

/// The same for a display set that repeats only the page composition, with the next version; cut at
/// 128 bytes. Nothing is converted or checked. Null when `page` is null or holds no region, and when
/// there is no memory.
[[nodiscard]] block* EncodeRefreshDisplaySet(encoder* state, const subpicture* page);

/// Releases the encoder, which is not null, and what it owns.
void CloseEncoder(encoder* state);

/// Writes the page composition segment (7.2.2) and notes the size of every region; page_state is
/// "mode change", or "normal case" with `mode_change` 0. Returns 0, or -1, with nothing written, when
/// there is no memory.
[[nodiscard]] std::int32_t encode_page_composition(
    encoder& state, bit_writer& out, const subpicture& page, std::uint8_t mode_change);

/// Writes one region composition segment (7.2.3) for each region, with the size noted by the page
/// composition. A region without a palette is reported on standard error and ends the walk.
void encode_region_composition(encoder& state, bit_writer& out, const subpicture& page);

/// Writes one CLUT definition segment (7.2.4) for each region that has a palette.
void encode_clut(encoder& state, bit_writer& out, const subpicture& page);

/// Writes one object data segment (7.2.5) for each region. Both its fields are empty when the region
/// is not "YUVP", which is reported on standard error, or has no palette.
void encode_object(encoder& state, bit_writer& out, const subpicture& page);
