#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// A receiver's view of a PES_data_field (ETSI EN 300 743), to check ours with. Nothing comes back for
// bytes that break the syntax.

struct subtitling_segment {
    std::uint32_t type = 0;
    std::uint32_t page_id = 0;
    std::size_t offset = 0; ///< of its sync_byte in the field
    std::span<const std::uint8_t> data{};
};

using pixel_line = std::vector<std::uint8_t>;

struct object_data {
    std::uint32_t id = 0;
    std::uint32_t version = 0;
    std::vector<pixel_line> top{};
    std::vector<pixel_line> bottom{};
    std::size_t stuffing = 0; ///< bytes behind the fields
};

/// The segments from the data_identifier to the end marker, with nothing before, between or behind.
std::optional<std::vector<subtitling_segment>> read_segments(std::span<const std::uint8_t> field);

/// The lines of one pixel-data block (7.2.5.1, 7.2.5.2).
std::optional<std::vector<pixel_line>> read_pixel_data(std::span<const std::uint8_t> bytes);

std::optional<object_data> read_object(std::span<const std::uint8_t> segment_data);
