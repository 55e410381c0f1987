#pragma once

/// Lets cairo forget the fonts that it has found, so that no input depends on one before it and what is
/// still allocated then is a leak. Nothing of cairo may be in use.
void forget_fonts();
