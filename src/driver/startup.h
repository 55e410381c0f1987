#pragma once

#include "state.h"

#include <cstdint>
#include <optional>

/// Where the logic device tells its generation: one decimal number.
inline constexpr const char* epld_version_file = "/sys/class/orlex/epld2/version";

/// Whether the stream leaves on Ethernet, past the logic device.
[[nodiscard]] bool output_is_ethernet();

/// Reads the device's generation from a file. Nothing, after a message on standard error, when the
/// file cannot be read or holds no decimal number.
[[nodiscard]] std::optional<std::uint32_t> read_epld_version(const char* version_file);

/// Reads the settings and the device's generation, which goes to standard output; the services are still
/// to be loaded. Nothing when the generation cannot be read.
[[nodiscard]] std::optional<driver_state> start_up(const char* version_file);
