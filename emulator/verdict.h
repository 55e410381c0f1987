#pragma once

#include "emulation.h"

#include <optional>
#include <string>
#include <vector>

/// How the daemon's process ended.
struct daemon_end {
    int status = 0; ///< as given by waitpid
};

/// What is wrong with a run, a sentence each; none when it is sound. A sound daemon was still at work at the
/// end, or had nothing to do because the output is on Ethernet. It did nothing wrong towards the device,
/// switched insertion on, and every table that a receiver needs has come at its rate: PAT, NIT, SDT, EIT, the
/// PMT of each program, TDT and TOT, and the subtitles that the PMTs announce. Nothing that left the board
/// was broken. Without an `end`, when the daemon is no child of the emulator, how it ended does not count.
std::vector<std::string> faults_of(const emulation& run, const std::optional<daemon_end>& end);

/// Whether the daemon was at work when the run ended.
bool was_at_work(const emulation& run, const daemon_end& end);

/// "PAT" and so on; "other" for a table that the daemon does not send.
const char* table_name(std::uint8_t table_id);

/// A text as `printf` writes it, at most 511 bytes long.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...);
