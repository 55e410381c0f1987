#pragma once

#include "encoder.h"

namespace plain {

/// `Encode` bit by bit, for a display set whose regions are all "YUVP" with palettes of 4, 16 or 256
/// entries.
[[nodiscard]] block* Encode(encoder* state, const subpicture* page);

} // namespace plain
