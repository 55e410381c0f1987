#pragma once

#include "epld_model.h"
#include "request.h"

#include <string>
#include <vector>

/// Somebody sets the clock during the run.
struct clock_change {
    std::int64_t at_s = 0; ///< since the beginning of the run
    std::int64_t by_s = 0; ///< forward, or negative: back
};

/// The programs that read a command line by these rules.
enum class front_end : std::uint8_t {
    launcher, ///< epld-emulator: runs the daemon with the device beneath it
    adapter,  ///< epld-adapter: puts the device on a bus of the kernel
};

/// What the command line of the emulator asks for.
struct launch_options {
    bool help = false;
    bool version = false;
    std::string error; ///< why the command line cannot be followed; empty when it can

    std::string generation = "3"; ///< content of the version file; "none": there is no such file
    std::string resources;        ///< folder; empty: none
    std::int64_t start_s = -1;    ///< seconds since the epoch; negative: now
    clock_change clock_set{};
    std::int64_t duration_s = 0; ///< 0: that of the encoder stream, or what the front end takes for it
    bool real_time = false;
    std::int64_t packet_rate = 1000;     ///< packets per second that the device can send
    std::int64_t bus_clock_hz = 100'000; ///< 0: transfers take no time
    std::string stream_path;
    std::string encoder_path;
    std::string record_path;
    std::string summary_path; ///< empty: standard output
    std::vector<refused_request> refusals;
    std::uint32_t stuck_slot = epld_model::none;
    std::uint32_t unacknowledged_slot = epld_model::none;
    std::vector<char*> command; ///< the daemon and its arguments; points into `argv`
};

/// Reads the command line of a program. What is wrong with it is said in `error`.
launch_options parse_command_line(front_end program, int argc, char** argv);

/// The text of --help.
std::string help_text(front_end program);
