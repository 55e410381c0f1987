#pragma once

#include "picture.h"

/// Collects into `colours`, whose `clut_id` stays, at most 16 colours that stand for those of the
/// picture: the pixels are visited in a scattered order, and a colour farther than a tolerance from all
/// before it is added. The tolerance is the smallest that needs less than 16 colours; when even 127
/// needs more, its first 16 are taken. Returns whether these are all the colours that there are.
bool find_colours(palette& colours, const picture& source);
