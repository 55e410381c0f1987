#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// A small reader of transport streams, independent of the code under test.

using byte_string = std::vector<std::uint8_t>;

/// "47 40 11" as bytes.
byte_string bytes_of(const std::string& hexadecimal);

struct ts_unit {
    std::uint16_t pid = 0;
    byte_string bytes{}; ///< a section from table_id to its end, or a PES packet
};

struct ts_content {
    std::vector<ts_unit> units;                  ///< in the order of their last packets
    std::map<std::uint16_t, int> packets;        ///< of each PID
    std::map<std::uint16_t, int> counter_errors; ///< of each PID; none: no entry
    std::vector<std::string> complaints;         ///< what is no transport stream
};

/// Takes the packets of a file apart. Null packets are only counted; a section or PES packet that has begun
/// but does not end is left out.
ts_content read_stream(const std::filesystem::path& path);
