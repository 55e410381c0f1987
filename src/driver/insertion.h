#pragma once

#include "programming.h"

#include <cstdint>
#include <ctime>

/// Sends the display set of every service, each followed by the refresh display sets of all others,
/// through the two stream slots in turn, from the current one on. Returns false, after a message, when
/// the device keeps a slot busy or does not acknowledge one.
[[nodiscard]] bool run_streaming_cycle(int fd, driver_state& state, insertion_state& insertion);

enum class refresh_result : std::uint8_t {
    failed,  ///< the message has been printed
    not_due, ///< less than 20 seconds since the last refresh
    done,
};

/// Loads a fresh TDT and then a fresh TOT into the stream slots, from the current slot on, when they
/// are due at `now`: 20 seconds after the last time, which then becomes `now`. Waits for each slot.
[[nodiscard]] refresh_result refresh_time_tables(
    int fd, std::uint32_t epld_version, insertion_state& insertion, std::time_t now);

/// Keeps the programmed device going; returns after a failure.
void insert_until_failure(int fd, driver_state& state, insertion_state& insertion);
