#pragma once

#include "state.h"

#include <cstdint>
#include <optional>

/// What one streaming cycle asks of the bus and of the device.
struct cycle_cost {
    std::uint32_t slot_packets = 0;  ///< that a stream slot takes per load
    std::uint64_t requests = 0;      ///< on the bus
    std::uint64_t clock_periods = 0; ///< that they take on the wire
};

/// Reads the settings as the daemon does on a device of the new generation. Nothing when that fails.
std::optional<driver_state> read_settings();

/// Runs the daemon's own programming and one streaming cycle against a bus that only counts, for a
/// device that is always ready. Nothing, after a message on standard error, when the tables leave no
/// room for two stream slots.
std::optional<cycle_cost> measure_cycle(driver_state& state);
