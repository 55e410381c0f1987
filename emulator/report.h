#pragma once

#include "emulation.h"

#include <string>

/// How the daemon's process ended, and the summary of a run for people to read.

struct daemon_end {
    int status = 0; ///< as given by waitpid
};

/// True when the daemon was still at work at the end of the run, or had ended with status 0 and the
/// device closed, and neither the bus nor the stream shows a fault of its own.
bool is_sound(const emulation& run, const daemon_end& end);

std::string summary(const emulation& run, const daemon_end& end);
