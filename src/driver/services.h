#pragma once

#include "startup.h"

/// Settles the mode and announces it on standard output: single-service operation, as long as there
/// is no way to make subtitles of articles.
void settle_services(driver_state& state);
