#pragma once

#include "multiplex.h"
#include "request.h"

#include <sys/types.h>

/// One run of the daemon on the emulated device. The launcher fills the first half in, in memory
/// shared with the daemon's process, where the preloaded library runs the emulation; at the end the
/// launcher reads from it what has happened.
struct emulation {
    static constexpr const char* memory_variable = "EPLD_EMULATOR_MEMORY"; ///< names its descriptor

    // What is asked for.
    bool output_on_ethernet = false;  ///< where the daemon has nothing to do
    bool real_time = false;           ///< otherwise time passes only in sleeps and on the bus
    std::int64_t start_s = 0;         ///< the clock's reading at the beginning, seconds since the epoch
    std::int64_t clock_set_at_ns = 0; ///< when somebody sets the clock
    std::int64_t clock_set_by_s = 0;  ///< forward, or negative: back
    std::int64_t duration_ns = 0;
    std::int64_t bus_clock_hz = 0;      ///< 0: transfers take no time
    std::array<char, 4096> resources{}; ///< stands in for the resources directory; empty: none
    int version_descriptor = -1;        ///< holds the version file; negative: there is none
    int encoder_descriptor = -1;
    std::size_t encoder_size = 0;
    fault_plan faults;
    epld_model device;
    multiplex stream;
    output_file record; ///< one line for each bus request

    // What has happened.
    pid_t daemon = 0;         ///< the process that the library is loaded into; 0: it never was
    bool exec_failed = false; ///< there is no such program
    bool run_over = false;    ///< ended by the emulator when the duration had passed
    bool device_open = false;
    bool device_bound = false;
    std::int64_t now_ns = 0; ///< since the beginning
    std::int64_t bus_ns = 0; ///< spent on the wire
    std::uint64_t refused_requests = 0;
    std::uint64_t clock_readings = 0;
    std::uint64_t sleeps = 0;
    std::int64_t counting_since_ns = 0; ///< when the statistics, and what the judge notes, began
    stream_statistics statistics;
};

/// Lets the device send until `now_ns`, which becomes the time of the run.
void advance(emulation& run, std::span<const std::uint8_t> encoder, std::int64_t now_ns);

/// Time on the wire of a transfer.
std::int64_t bus_time_ns(const emulation& run, request_kind kind, std::size_t bytes);

/// Opening, binding or closing the bus: counts and records it. Returns false when it is refused.
bool request_access(emulation& run, request_kind kind);

/// A transfer; `bytes` are written to the device or filled by it (a word low byte first).
struct bus_transfer {
    request_kind kind = request_kind::read_byte;
    std::uint8_t register_number = 0;
    std::span<std::uint8_t> bytes{};
};

/// Puts a transfer to the device, counts and records it with `began_ns`. Returns false when it fails.
bool request_transfer(emulation& run, const bus_transfer& transfer, std::int64_t began_ns);

/// Refuses and records what the bus does not know at all; `where` is a register or request number.
void refuse_request(emulation& run, violation_kind kind, std::uint32_t where);
