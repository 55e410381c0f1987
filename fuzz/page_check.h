#pragma once

#include "encoder.h"
#include "picture.h"

#include <cstdlib>
#include <memory>

/// Makes a release function the deleter of a `std::unique_ptr`.
template <auto release> struct released_by {
    template <typename record> void operator()(record* held) const
    {
        release(held);
    }
};

using owned_page = std::unique_ptr<subpicture, released_by<subpicture_Delete>>;
using owned_encoder = std::unique_ptr<encoder, released_by<CloseEncoder>>;
using owned_block = std::unique_ptr<block, released_by<std::free>>;

/// Reads a display set of `Encode` back as a receiver would: every length adds up, the segments are
/// those of the page in their order, and colours and pixels are the regions' own. Aborts when they are not.
/// One that was cut at 64,000 bytes is only looked at as far as its beginning.
void check_display_set(const block& data, const subpicture& page);

/// The same for `EncodeRefreshDisplaySet`, cut at 128 bytes.
void check_refresh_set(const block& data, const subpicture& page);

/// Encodes the page once with a fresh encoder and checks what comes back, if anything does.
void encode_and_check(subpicture& page);

std::size_t pixels_of(const subpicture& page);
