#pragma once

#include "emulated_run.h"

#include <cstdint>

/// Fills an empty folder with the files of a shop and returns a run of the daemon in it: settings, articles,
/// layouts and pictures of every kind, sound ones and broken ones, and faults of the device. A seed gives the
/// same shop every time.
run_request random_shop(const temporary_folder& folder, std::uint64_t seed);
