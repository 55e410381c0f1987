#pragma once

#include "emulation.h"
#include "options.h"

#include <optional>

/// What the front ends of the emulator prepare and leave in the same way. What goes wrong is said on
/// standard error, in one sentence behind the program's name.

inline constexpr int status_unsound = 1;
inline constexpr int status_no_run = 2;

/// Says what is wrong. Returns false, for the caller to return.
bool complain(const std::string& what);

/// The same about a file, with the reason that `errno` gives.
bool complain_about(const std::string& what, const std::string& path);

/// Shows the help text or the version that is asked for, or complains about the command line. Returns the
/// status to end with, nothing when there is a run to begin.
[[nodiscard]] std::optional<int> status_without_run(front_end program, const launch_options& options);

/// Gives the standard streams a place where they have none: otherwise other files would be opened as one of
/// them.
void keep_standard_streams();

/// Switches the device on with the faults that it plays, and opens the encoder stream, the record and the
/// stream. The descriptors stay open as long as the process. Returns false after a complaint.
[[nodiscard]] bool prepare_device(emulation& run, const launch_options& options);

/// The bytes of the encoder stream, mapped for as long as the process; none when there is none, or when they
/// cannot be had.
[[nodiscard]] std::span<const std::uint8_t> map_encoder(const emulation& run);

/// Writes the summary to a file, or to standard output when the path is empty. Returns false after a
/// complaint.
[[nodiscard]] bool write_summary(const std::string& text, const std::string& path);
