#pragma once

#include "verdict.h"

/// What was sent, and what was asked of the bus, as tables for people to read.
std::string traffic(const emulation& run);

/// The faults, one a line, and the verdict that follows from them.
std::string verdict_text(const std::vector<std::string>& faults);

/// The summary of a run for people to read, with its faults.
std::string summary(const emulation& run, const daemon_end& end);
