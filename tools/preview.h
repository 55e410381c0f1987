#pragma once

// What the program ends with.
inline constexpr int status_well = 0;
inline constexpr int status_wrong = 1;      ///< viewers would see something wrong
inline constexpr int status_no_preview = 2; ///< nothing could be checked

/// The whole program: reads the command line and the settings, writes the pictures, and the report on
/// standard output. Returns the exit status: 0 when all is well, 1 when something is broken, 2 when
/// there was no preview.
int run_preview(int argc, char** argv);
