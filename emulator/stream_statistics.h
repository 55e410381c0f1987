#pragma once

#include "epld_model.h"

/// What a listener behind the device counts: packets and continuity of each PID, repetitions of
/// each table.

struct pid_statistics {
    std::uint64_t packets = 0;
    std::uint64_t counter_errors = 0;
    std::uint64_t damaged_units = 0; ///< sections and PES packets
    std::uint64_t display_sets = 0;  ///< of DVB subtitles, but no refreshes
    std::int64_t last_display_set_us = 0;
    std::int64_t longest_display_gap_us = 0; ///< between two of them
    std::uint8_t last_counter = 0;
    bool has_counter = false; ///< a packet with payload has been seen

    // The section or PES packet under way.
    std::uint32_t unit_left = 0; ///< bytes to come; 0: none is under way
    bool is_section = false;
    bool has_crc = false;
    std::uint32_t crc = 0;
};

struct table_statistics {
    std::uint16_t pid = 0;
    std::uint8_t table_id = 0;
    std::uint64_t sections = 0;
    std::int64_t first_us = 0;
    std::int64_t last_us = 0;
    std::int64_t longest_gap_us = 0;
};

struct stream_statistics {
    static constexpr std::size_t pids = 8192;
    static constexpr std::size_t tables_max = 128;

    std::array<pid_statistics, pids> by_pid{};
    std::array<table_statistics, tables_max> tables{};
    std::size_t table_count = 0;
};

/// The 13-bit PID of a packet.
std::uint16_t pid_of(std::span<const std::uint8_t> packet);

/// Counts one packet of the device, sent at `time_us`. A repeated or skipped continuity counter is an error
/// (ISO/IEC 13818-1, 2.4.3.3); a packet without payload leaves the counter as it is.
void count_packet(stream_statistics& statistics, const ts_packet& packet, std::int64_t time_us);

/// Counts a packet that the device did not send: its faults are not the daemon's.
void count_foreign_packet(stream_statistics& statistics, std::span<const std::uint8_t> packet);

/// Sums over all PIDs. A section is damaged when its CRC_32 or its length is wrong, a PES packet when it
/// has more or fewer bytes than its PES_packet_length says.
std::uint64_t counter_errors(const stream_statistics& statistics);
std::uint64_t damaged_units(const stream_statistics& statistics);
