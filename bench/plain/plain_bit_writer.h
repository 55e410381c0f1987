#pragma once

#include "bit_writer.h"

namespace plain {

/// `bs_write` and `bs_align_0` bit by bit.
void write_bits(bit_writer& out, std::int32_t count, std::uint32_t value);
void align_bits(bit_writer& out);

} // namespace plain
