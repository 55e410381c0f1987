#pragma once

#include "pixel_strings.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Segments of DVB subtitles and what is in them (ETSI EN 300 743, 7.1 and 7.2). Spans point into the
// bytes that were given.

/// A segment (7.2.1).
struct subtitle_segment {
    std::uint32_t type = 0;
    std::uint32_t page_id = 0;
    std::size_t offset = 0; ///< of its sync_byte in the PES_data_field
    std::span<const std::uint8_t> data{};
};

struct segment_list {
    std::vector<subtitle_segment> segments{};
    std::string problem{}; ///< why the reading stopped; empty when all was read
};

/// The segments of a PES_data_field (7.1), from its data_identifier to its end marker.
segment_list read_segments(std::span<const std::uint8_t> field);

/// An object made of pixels (7.2.5).
struct subtitle_object {
    std::uint32_t id = 0;
    std::uint32_t version = 0;
    pixel_data top{};                ///< lines 0, 2, 4, …
    pixel_data bottom{};             ///< lines 1, 3, 5, …
    bool bottom_repeats_top = false; ///< the bottom field has no data: that of the top field counts
    std::size_t stuffing_bytes = 0;
    std::string problem{}; ///< empty when all was read
};

/// Reads the data of an object data segment.
subtitle_object read_object(std::span<const std::uint8_t> segment_data);
