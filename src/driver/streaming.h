#pragma once

#include "programming.h"

/// Sends the display set of every service, each followed by the refresh display sets of all others,
/// through the two stream slots in turn, from the current one on. Returns false, after a message, when
/// the device keeps a slot busy or does not acknowledge one.
[[nodiscard]] bool run_streaming_cycle(int fd, driver_state& state, insertion_state& insertion);
