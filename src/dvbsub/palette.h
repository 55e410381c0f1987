#pragma once

#include "picture.h"

/// Collects into `colours`, whose `clut_id` stays, at most 16 colours that stand for those of the
/// picture: the pixels are visited in a scattered order, and a colour farther than a tolerance from all
/// before it is added. The tolerance is the smallest that needs less than 16 colours; when even 127
/// needs more, its first 16 are taken. Returns whether these are all the colours that there are.
bool find_colours(palette& colours, const picture& source);

/// Turns every region of the display set, whatever its chroma, into a palettised one ("YUVP"): at
/// most 16 colours that stand for those of the region (15 and a transparent one where a tolerance of
/// 127 or less allows it), and in plane 0 the index of each pixel, with the error diffused. Regions
/// get CLUT ids 1, 2, 3, … and 16 palette entries. A region whose like has been coded before only takes
/// over the colours: its pixels need no index any more. Returns `page`; null when it is null or when there
/// is no memory, and then the regions before the failing one are converted and those behind it are not.
[[nodiscard]] subpicture* YuvaYuvp(subpicture* page);
