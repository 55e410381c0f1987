#pragma once

#include "article_screen.h"
#include "cycle_time.h"
#include "shop.h"

#include <cstdint>
#include <string>

// The parts of the report: lines of a text, at most about 100 characters wide.

/// The heading of a screen; numbers count from 1.
std::string screen_heading(std::uint32_t number, const item& article, const std::string& picture);

/// Regions and sizes of a screen.
std::string screen_report(const article_screen& screen, const subtitle_stream& stream);

/// Articles that are not shown, and why. Empty when all are.
std::string dropped_report(const shop& found);

/// What one streaming cycle of all services takes.
std::string cycle_report(const driver_state& state, const cycle_cost& cost);

std::string findings_report(const finding_list& findings);

/// The last line: how much is broken.
std::string verdict(const finding_list& all);

/// A text of the files for one line of the terminal: control characters become blanks.
std::string printable(const char* text);
