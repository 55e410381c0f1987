#pragma once

#include "item.h"
#include "layout.h"
#include "stream_transfer.h"

#include <array>
#include <cstdint>
#include <optional>

/// Where the logic device tells its generation: one decimal number.
inline constexpr const char* epld_version_file = "/sys/class/orlex/epld2/version";

/// The articles are shown by at most so many services.
inline constexpr std::uint32_t services_max = 40;

/// What the daemon decides before it turns to the device and keeps for the whole run.
struct driver_state {
    bool audio_enabled = false;
    std::uint8_t audio_stream_type = 0; ///< stream_type of ISO/IEC 13818-1, table 2-34
    std::uint32_t epld_version = 0;     ///< above 2: the new generation
    bool multi_service_requested = false;

    bool multi_service = false;      ///< one service for each article, with subtitles
    std::uint32_t service_count = 0; ///< articles to show; 0 in single-service operation
    item* articles = nullptr;        ///< never freed, as all that follows
    layout_region* layout = nullptr;
    std::array<subtitle_stream, services_max> streams{}; ///< of the services, in the order of the articles
};

/// Whether the stream leaves on Ethernet, past the logic device.
[[nodiscard]] bool output_is_ethernet();

/// Reads the device's generation from a file. Nothing, after a message on standard error, when the
/// file cannot be read or holds no decimal number.
[[nodiscard]] std::optional<std::uint32_t> read_epld_version(const char* version_file);

/// Reads the settings and the device's generation, which goes to standard output; the services are
/// left unsettled. Nothing when the generation cannot be read.
[[nodiscard]] std::optional<driver_state> start_up(const char* version_file);
