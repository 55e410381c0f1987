#pragma once

#include "dvb_table.h"
#include "item.h"
#include "layout.h"
#include "notify.h"
#include "stream_transfer.h"

#include <array>
#include <cstdint>
#include <ctime>

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

using stream_slot_pair = std::array<stream_slot, 2>;

/// What the insertion loop goes on with when the device is programmed.
struct insertion_state {
    dvb_table table{}; ///< the TDT and TOT, with the continuity counter that they share
    stream_slot_pair slots{};
    std::uint32_t current_slot = 0;    ///< 0 or 1: the stream slot to fill next
    std::time_t last_time_refresh = 0; ///< of the TDT and TOT, seconds since the epoch
    service_manager manager{};         ///< who is told of the loads
};
