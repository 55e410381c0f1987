#pragma once

#include "picture.h"

namespace plain {

/// `YuvaYuvp` step by step, one pixel after the other and with no thought of speed, for regions below a
/// million pixels: what the fast one has to give to the byte, and what its speed is compared with.
[[nodiscard]] subpicture* YuvaYuvp(subpicture* page);

} // namespace plain
