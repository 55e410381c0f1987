#pragma once

#include "verdict.h"

/// The summary of a run for people to read, with its faults.
std::string summary(const emulation& run, const daemon_end& end);
