#pragma once

#include "state.h"

#include <cstdint>
#include <optional>

/// Where a slot lies in packet memory: byte addresses of its header and of its packet run.
struct slot_place {
    std::uint32_t header_address = 0;
    std::uint32_t data_address = 0;
};

/// Services that the tables announce: at least one.
[[nodiscard]] std::uint32_t table_services(const driver_state& state);

/// First byte of the packet area: behind the header table and, on the new generation, its end byte.
[[nodiscard]] std::uint32_t packet_area_start(const driver_state& state);

/// Divides the packet memory from `start` on among two stream slots of equally many packets, at most 8
/// each. Nothing when it has no room for one packet each.
[[nodiscard]] std::optional<stream_slot_pair> lay_out_stream_slots(const slot_place& start);

/// Writes the section as a packet run and then the slot's header, in the format of the device's
/// generation. Returns the bytes of the run that count, or -1, after a message on standard error and
/// without any request, when the section is too long for a slot. Failed writes are only reported.
[[nodiscard]] std::int32_t write_slot(
    int fd, std::uint32_t epld_version, const slot_place& place, std::uint8_t type, dvb_table& table);

/// Clears the device, writes SDT, NIT, PAT, EIT and the PMTs into table slots, lays out the stream
/// slots behind them and switches insertion on. Nothing, after a message on standard error and with
/// insertion off, when a section is too long for a slot or packet memory has no room for the tables
/// and two stream slots; nothing has then been written beyond it.
[[nodiscard]] std::optional<insertion_state> program_device(int fd, const driver_state& state);
