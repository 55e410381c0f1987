#pragma once

#include "temporary.h"

#include <string>
#include <utility>
#include <vector>

/// The daemon, as it ships, on the emulated device.

inline constexpr const char* at_work = "daemon: at work when the run ended";
inline constexpr const char* failed = "daemon: ended with status 234";

struct run_request {
    std::vector<std::string> options{};                          ///< of the emulator
    std::vector<std::pair<std::string, std::string>> settings{}; ///< environment variables of the daemon
    std::string program = DAEMON;
};

struct run_result {
    int emulator_status = -1;
    std::string daemon_end{}; ///< the first line of the summary, without its time
    std::string output{};     ///< of the daemon
    std::string errors{};
    std::string summary{};
    std::string record{}; ///< of the bus, as the emulator wrote it
};

/// Runs the daemon to its end or the end of the run. The board's clock begins at 2026-11-18 14:05:09, unless
/// the options say otherwise: no test depends on the day.
run_result run_daemon_emulated(run_request request);

/// Makes an empty folder one that can stand in for the resources directory of the board: the sample shop's
/// pictures and layout, with articles made up. Article i has the code "A<i>" and the channel 101 + i; what
/// they show, and with it the size of their subtitles, differs.
void write_shop(const temporary_folder& folder, int articles);

/// A run of the daemon in such a folder, in multi-service operation, on the host of these articles.
/// `options` are the emulator's.
run_request shop_run(const temporary_folder& folder, const std::vector<std::string>& options);

/// What a program prints to its standard output, when it ends with status 0; otherwise a text that
/// says that it failed, with what it printed to standard error.
std::string output_of_command(const std::string& command);

/// The command line of the emulator and the daemon, with the settings before it.
std::string command_line(const run_request& request);
