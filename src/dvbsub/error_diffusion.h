#pragma once

#include "picture.h"

/// Puts the index of the palette entry nearest to each pixel into plane 0. Of the error of a pixel,
/// 3/8 go to the one below it and 5/8 to the one on its right. The palette has 1 to 16
/// entries, none twice (0 for a picture without pixels); `exact` says that they are all the colours of
/// the picture. False, with nothing mapped, when there is no memory.
[[nodiscard]] bool map_pixels(const picture& target, const palette& colours, bool exact);
