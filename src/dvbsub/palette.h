#pragma once

#include "picture.h"

/// Turns every region of the display set, whatever its chroma, into a palettised one ("YUVP"): at
/// most 16 colours that stand for those of the region (15 and a transparent one where a tolerance of
/// 127 or less allows it), and in plane 0 the index of each pixel, with the error diffused. Regions
/// get CLUT ids 1, 2, 3, … and 16 palette entries. A region that has been coded before (`coded`)
/// takes over its colours, and its pixels stay as they are. Returns `page`; null when it is null or when
/// there is no memory, and then the regions before the failing one are converted and those behind it are not.
[[nodiscard]] subpicture* YuvaYuvp(subpicture* page);
