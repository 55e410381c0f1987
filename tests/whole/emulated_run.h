#pragma once

#include "temporary.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The daemon, as it ships, on the emulated device.

/// The daemon's environment variables.
using setting_list = std::vector<std::pair<std::string, std::string>>;

struct run_request {
    std::vector<std::string> options{}; ///< of the emulator
    setting_list settings{};
    std::string program = DAEMON;
};

struct recorded_request {
    double time_s = 0;
    std::string kind; ///< "write-block" and so on
    unsigned register_number = 0;
    unsigned pointer = 0; ///< of the data port
    std::vector<std::uint8_t> bytes{};
    bool failed = false;
};

struct run_result {
    int emulator_status = -1;
    std::string daemon_end; ///< the first line of the summary, without its time
    std::string output;     ///< of the daemon
    std::string errors;
    std::string summary;
    std::vector<recorded_request> requests;
};

/// Runs the daemon to its end or the end of the run.
run_result run_daemon_emulated(const run_request& request);

/// The same, and the transport stream goes to `stream_path`.
run_result run_daemon_emulated(run_request request, const std::string& stream_path);

/// What a program prints to its standard output, when it ends with status 0; otherwise a text that
/// says that it failed, with what it printed to standard error.
std::string output_of_command(const std::string& command);

/// The command line of the emulator and the daemon, with the settings before it.
std::string command_line(const run_request& request);
