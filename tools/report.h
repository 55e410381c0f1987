#pragma once

#include "article_screen.h"
#include "cycle_time.h"
#include "findings.h"
#include "shop.h"

#include <cstdint>
#include <string>
#include <vector>

// The parts of the report: lines of a text, at most about 100 characters wide.

/// The heading of a screen; numbers count from 1.
std::string screen_heading(std::uint32_t number, const item& article, const std::string& picture);

/// Regions and sizes of a screen.
std::string screen_report(const article_screen& screen, const subtitle_stream& stream);

/// Articles that are not shown, and why; the first ones. Empty when all are.
std::string dropped_report(const std::vector<dropped_article>& dropped);

/// What one streaming cycle of all services sends.
struct cycle_load {
    std::uint64_t display_sets = 0;
    std::uint64_t refreshes = 0;
    std::uint64_t packets = 0;
    std::uint64_t loads = 0; ///< of a stream slot
};
cycle_load load_of(const driver_state& state, const cycle_cost& cost);

/// What one streaming cycle of all services takes.
std::string cycle_report(const driver_state& state, const cycle_cost& cost);

/// The findings, the gravest first: "file:line:column: error: what viewers see", then what to do and for
/// which articles. Empty when there are none.
std::string findings_report(const finding_groups& findings);

/// "12,345 articles"
std::string counted(std::uint64_t number, const char* thing);

/// The last line: how much is wrong, or that all is well.
std::string verdict(const finding_groups& findings);

/// A text of the files for one line of the terminal: control characters become blanks.
std::string printable(const char* text);
