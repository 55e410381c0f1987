#pragma once

#include <cstdint>

/// One of the two stream slots, which the daemon loads in turn and the device sends once per load.
struct stream_slot {
    std::uint32_t header_address = 0; ///< of its 4-byte header in packet memory
    std::uint32_t data_address = 0;   ///< of its packet run
    std::uint8_t capacity = 0;        ///< packets per load, at most 8
    std::uint8_t type = 0;            ///< type byte written when it is loaded
};

/// Waits until the device has sent the slot's last load: polls every 1 ms, at most 5000 times.
/// Returns false, after a message on standard output, when a poll fails or the slot is still busy.
[[nodiscard]] bool wait_until_ready(int fd, const stream_slot& slot);

/// Waits in the same way until the device has taken the slot up: it sends it now, or has sent it.
[[nodiscard]] bool wait_until_acknowledged(int fd, const stream_slot& slot);
