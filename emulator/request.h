#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

/// What a daemon can ask of the I2C bus, and the faults that may be played in answer.

enum class request_kind : std::uint8_t {
    open,
    bind,
    close,
    read_byte,
    write_byte,
    write_word,
    read_block,
    write_block,
    unknown, ///< what the bus or the device does not know
};
inline constexpr std::size_t request_kinds = 9;

/// "write-block" and the like, as they stand in a bus record and on the command line.
std::string_view name_of(request_kind kind);

/// Time on the wire of one transfer, in clock periods of the bus: start, address, register, data and
/// stop with their acknowledge bits (SMBus byte and word data, I2C block data of `bytes` bytes).
std::int64_t bus_periods(request_kind kind, std::size_t bytes);

/// Requests that the bus refuses: the n-th of a kind (or of all kinds), or all from the n-th on.
struct refused_request {
    std::optional<request_kind> kind; ///< none: requests of every kind but close count
    std::uint64_t number = 1;         ///< counted from 1
    bool onwards = false;
};

struct fault_plan {
    static constexpr std::size_t refusals_max = 16;
    std::array<refused_request, refusals_max> refusals{};
    std::size_t refusal_count = 0;
    std::array<std::uint64_t, request_kinds> requests{}; ///< made so far
    std::uint64_t all_requests = 0;
};

/// Reads "KIND:N" or "KIND:N+", with a kind's name or "any". Nothing when the text is neither.
std::optional<refused_request> parse_refusal(std::string_view text);

/// Counts a request. Returns true when the bus refuses it.
bool count_request(fault_plan& plan, request_kind kind);
