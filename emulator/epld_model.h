#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <span>

/// The table inserter of the logic device, as a record and step functions: registers, packet memory,
/// and the packets that it sends from there. No calls of the operating system, no allocation, and no
/// pointers inside, so that the record can lie in memory shared by two processes.

inline constexpr std::size_t ts_packet_size = 188;
using ts_packet = std::array<std::uint8_t, ts_packet_size>;

/// What the daemon can do wrong towards the device.
enum class violation_kind : std::uint8_t {
    unknown_register, ///< a register that the device does not have
    unknown_transfer, ///< a transfer that the register, or the bus, does not know
    write_beyond_memory,
    read_beyond_memory,
    busy_slot_overwritten, ///< header or packets of a stream slot written before the device has sent it
    run_leaves_memory,     ///< a slot header whose packets reach beyond packet memory
    bad_slot_header,       ///< a slot header with a type or a length that the device does not know
    bad_packet,            ///< a slot's packet that does not begin with the sync byte
    not_bound,             ///< a transfer before the descriptor was bound to the device's address
    runs_overlap,          ///< a slot's packets over those of another slot, or over the header table
    armed_too_early,       ///< stream slot 0 loaded before slot 1 was acknowledged
    tables_not_deleted,    ///< insertion switched on over what was in memory before
    control_bits_changed,  ///< other bits of register 0 than that of insertion
    bus_takes_messages,    ///< the bus opened as a standard stream, which had been closed
};
inline constexpr std::size_t violation_kinds =
    static_cast<std::size_t>(violation_kind::bus_takes_messages) + 1;

struct violation {
    violation_kind kind = violation_kind::unknown_register;
    std::uint32_t where = 0; ///< register number or packet-memory address
    std::int64_t time_us = 0;
};

struct epld_model {
    static constexpr std::uint32_t memory_size = 6144;
    static constexpr std::size_t slots_max = 64;
    static constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();
    static constexpr std::uint32_t none = 255;  ///< no slot
    static constexpr std::uint32_t every = 254; ///< every slot

    bool new_generation = true;
    std::array<std::uint8_t, memory_size> memory{};
    std::uint32_t pointer = 0;            ///< where the data port reads and writes next
    std::uint8_t control = 0;             ///< register 0
    bool tables_deleted = true;           ///< since power-on
    std::int64_t now_us = 0;              ///< kept by whoever runs the model
    std::int64_t inserting_since_us = -1; ///< when insertion was first switched on; negative: never

    /// Faults to play. Streams slots count from 0 in header-table order.
    std::int64_t requests_until_fault = never; ///< requests that succeed before one fails
    std::uint32_t stuck_slot = none;           ///< this stream slot stays busy for ever
    std::uint32_t unacknowledged_slot = none;  ///< this stream slot, or every one, is never taken up

    /// What the device is at.
    std::array<std::int64_t, slots_max> table_due_us{}; ///< next repetition of each table slot
    std::uint32_t sending_table = none;                 ///< header-table index of the table being sent
    std::uint32_t table_packets_sent = 0;
    std::uint32_t sending_stream = none; ///< header-table index of the stream slot being sent
    std::uint32_t stream_packets_sent = 0;
    std::uint32_t last_stream = none; ///< header-table index of the stream slot sent last
    bool streams_turn = false;        ///< tables and stream slots take turns when both have a packet
    std::array<std::uint8_t, 8192> table_counters{}; ///< continuity counter of each PID's tables

    /// What the daemon did wrong, as the judge notes it: how often, and the first times.
    std::uint32_t violation_count = 0;
    std::array<violation, 16> violations{};
};

/// The transfers of the bus. Each returns false when the request fails, by an injected fault or
/// because the device does not know it; it is then without effect. The word of `device_write_word`
/// and the single byte of `device_read_byte` are those of the SMBus transfer.
[[nodiscard]] bool device_read_byte(epld_model& device, std::uint8_t register_number, std::uint8_t& value);
[[nodiscard]] bool device_write_byte(epld_model& device, std::uint8_t register_number, std::uint8_t value);
[[nodiscard]] bool device_write_word(epld_model& device, std::uint8_t register_number, std::uint16_t value);
[[nodiscard]] bool device_write_block(
    epld_model& device, std::uint8_t register_number, std::span<const std::uint8_t> bytes);
[[nodiscard]] bool device_read_block(
    epld_model& device, std::uint8_t register_number, std::span<std::uint8_t> bytes);

/// The earliest time at which the device has a packet to send: `now_us` or later, `never` while
/// insertion is off.
[[nodiscard]] std::int64_t next_packet_due_us(const epld_model& device);

/// Gives the packet that the device sends at `now_us`, complete: repeated tables with running
/// continuity counters, short last packets filled up to 188 bytes. Returns false when it has none.
[[nodiscard]] bool send_packet(epld_model& device, ts_packet& packet);

/// The time between two repetitions of a table slot of that type, by the class in its bits 5 and 4.
[[nodiscard]] std::int64_t table_interval_us(const epld_model& device, std::uint8_t type);
