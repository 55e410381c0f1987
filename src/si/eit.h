#pragma once

#include "dvb_table.h"

#include <cstdint>
#include <ctime>
#include <span>

struct present_event {
    std::uint32_t service_id = 0; ///< low 16 bits, as in the other identifiers
    std::uint32_t transport_stream_id = 0;
    std::uint32_t original_network_id = 0;
    std::tm start_utc{};
    std::int32_t frames_per_second = 0; ///< 25 and 50 announce 25 Hz video, all others 30 Hz
    bool h264 = false;                  ///< of the video; anything else counts as MPEG-2
};

/// Writes the present event section of the actual transport stream (EN 300 468, 5.2.4) to the front of
/// `out`: one event of twenty minutes without a name. Returns its length, always 63 bytes.
[[nodiscard]] std::int32_t write_eit(std::span<std::uint8_t> out, const present_event& event);

/// The same for the service of the settings and an event that starts now, into `table.data`. Only
/// that is written.
[[nodiscard]] std::int32_t create_eit_table(dvb_table& table);
