#pragma once

#include "findings.h"

#include <cstdint>
#include <string>
#include <vector>

/// What was checked.
struct check_summary {
    std::uint64_t hosts = 0;
    std::uint64_t articles = 0;           ///< that are shown
    std::uint64_t dropped_over_forty = 0; ///< articles of these hosts that are not
};

/// A picture of an article's screen.
struct shown_screen {
    std::uint32_t number = 0; ///< from 1
    std::string article{};
    std::string host{};
    std::string picture{}; ///< path; empty: none was made
};

/// The report for programs: one JSON object, as docs/preview.md describes it, in UTF-8. Bytes that are not
/// become the replacement character.
std::string json_report(
    const check_summary& summary, const std::vector<shown_screen>& screens, const finding_groups& findings);

/// What a process has found, for another one to add to what it has.
std::string write_message(const check_summary& summary, const finding_groups& findings);

/// Adds it; false when the message is none.
bool add_message(const std::string& message, check_summary& summary, finding_groups& findings);
