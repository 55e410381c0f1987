#include "judge.h"

#include <algorithm>

namespace {

constexpr std::uint8_t sync_byte = 0x47;
constexpr std::uint8_t unit_start = 0x40; ///< payload_unit_start_indicator, in a packet's second byte
constexpr std::uint8_t insertion_bit = 0x10;

bool is_inserting(const epld_model& device)
{
    return (device.control & insertion_bit) != 0;
}

/// The types that the daemon may write, in either generation.
bool is_known_type(const epld_model& device, std::uint8_t type)
{
    constexpr std::array<std::uint8_t, 6> old_types{0x81, 0x91, 0xA1, 0x82, 0x83, 0x83};
    constexpr std::array<std::uint8_t, 6> new_types{0x91, 0xA1, 0xB1, 0x82, 0x83, 0x87};
    const auto& types = device.new_generation ? new_types : old_types;
    return std::find(types.begin(), types.end(), type) != types.end();
}

bool has_sync_bytes(const epld_model& device, const device_slot& slot)
{
    for (std::uint32_t i = 0; i < slot.packets; ++i)
        if (device.memory[slot.address + i * ts_packet_size] != sync_byte)
            return false;
    return slot.packets != 0;
}

/// Whether the packet at an address begins a PES packet (ISO/IEC 13818-1, 2.4.3.6).
bool begins_pes_packet(const epld_model& device, std::uint32_t address)
{
    const auto* const packet = &device.memory[address];
    return (packet[1] & unit_start) != 0 && packet[4] == 0 && packet[5] == 0 && packet[6] == 1;
}

/// What is wrong with a slot that the daemon has just written or switched on.
void check_slot(epld_model& device, std::uint32_t index)
{
    const device_slot slot = slot_at(device, index);
    const auto where = static_cast<std::uint32_t>(index * slot_header_size);
    if (!is_known_type(device, slot.type) || slot.last_packet_size > ts_packet_size
        || (slot.packets != 0 && slot.last_packet_size <= slot_header_size))
        return report_violation(device, violation_kind::bad_slot_header, where);
    if (slot.address + run_size(slot) > epld_model::memory_size)
        return report_violation(device, violation_kind::run_leaves_memory, where);
    if (is_kind(slot.type, slot_kind::empty_stream))
        return;
    if (!has_sync_bytes(device, slot))
        return report_violation(device, violation_kind::bad_packet, slot.address);
    if (is_kind(slot.type, slot_kind::loaded_stream)
        && begins_pes_packet(device, slot.address) != ((slot.type & begins_pes_slot_bit) != 0))
        report_violation(device, violation_kind::bad_slot_header, where);
}

bool overlap(std::uint32_t begin, std::uint32_t end, std::uint32_t other_begin, std::uint32_t other_size)
{
    return begin < other_begin + other_size && other_begin < end;
}

/// Every slot's packets have memory of their own, behind the header table.
void check_runs(epld_model& device)
{
    const std::uint32_t slots = slots_of(device);
    for (std::uint32_t i = 0; i < slots; ++i) {
        const device_slot slot = slot_at(device, i);
        const std::uint32_t end = slot.address + run_size(slot);
        bool overlaps = overlap(slot.address, end, 0, slots * static_cast<std::uint32_t>(slot_header_size));
        for (std::uint32_t j = 0; j < i; ++j)
            overlaps |= overlap(slot.address, end, slot_at(device, j).address, run_size(slot_at(device, j)));
        if (overlaps)
            report_violation(device, violation_kind::runs_overlap, slot.address);
    }
}

void check_busy_slots(epld_model& device, std::uint32_t begin, std::uint32_t end)
{
    for (std::uint32_t index = 0; slot_at(device, index).type != 0; ++index) {
        const device_slot slot = slot_at(device, index);
        if (is_kind(slot.type, slot_kind::loaded_stream)
            && (overlap(begin, end, static_cast<std::uint32_t>(index * slot_header_size), slot_header_size)
                || overlap(begin, end, slot.address, run_size(slot))))
            report_violation(device, violation_kind::busy_slot_overwritten, begin);
    }
}

/// Slot 0 is loaded with subtitles only when slot 1 has been acknowledged. A section may come sooner.
void check_order(epld_model& device, std::uint32_t index)
{
    const device_slot slot = slot_at(device, index);
    const bool section =
        (device.memory[slot.address + 1] & unit_start) != 0 && (slot.type & begins_pes_slot_bit) == 0;
    const std::uint8_t next_type = slot_at(device, index + 1).type;
    if (is_kind(slot.type, slot_kind::loaded_stream) && stream_number(device, index) == 0 && !section
        && is_kind(next_type, slot_kind::loaded_stream) && (next_type & acknowledged_slot_bit) == 0)
        report_violation(
            device, violation_kind::armed_too_early, static_cast<std::uint32_t>(index * slot_header_size));
}

} // namespace

void report_violation(epld_model& device, violation_kind kind, std::uint32_t where)
{
    if (device.violation_count < device.violations.size())
        device.violations[device.violation_count] =
            violation{.kind = kind, .where = where, .time_us = device.now_us};
    ++device.violation_count;
}

void judge_unknown_transfer(epld_model& device, std::uint8_t register_number, bool register_known)
{
    report_violation(device,
        register_known ? violation_kind::unknown_transfer : violation_kind::unknown_register,
        register_number);
}

void judge_control(epld_model& device, std::uint8_t value)
{
    if (((device.control ^ value) & ~insertion_bit) != 0)
        report_violation(device, violation_kind::control_bits_changed, value);
}

void judge_insertion(epld_model& device)
{
    if (!device.tables_deleted)
        report_violation(device, violation_kind::tables_not_deleted, 0);
    for (std::uint32_t index = 0; index < slots_of(device); ++index)
        check_slot(device, index);
    check_runs(device);
}

void judge_read(epld_model& device, std::size_t count)
{
    if (device.pointer + count > epld_model::memory_size)
        report_violation(device, violation_kind::read_beyond_memory, device.pointer);
}

void judge_write(epld_model& device, std::size_t count)
{
    const auto end = static_cast<std::uint32_t>(device.pointer + count);
    if (end > epld_model::memory_size)
        report_violation(device, violation_kind::write_beyond_memory, device.pointer);
    if (is_inserting(device))
        check_busy_slots(device, std::min(device.pointer, epld_model::memory_size),
            std::min(end, epld_model::memory_size));
}

void judge_written(epld_model& device, std::uint32_t slots, std::uint32_t begin, std::uint32_t end)
{
    if (!is_inserting(device))
        return;
    for (std::uint32_t index = 0; index < slots; ++index) {
        const std::uint32_t type_address = index * slot_header_size;
        if (begin > type_address || type_address >= end)
            continue;
        const std::uint32_t noted = device.violation_count;
        check_slot(device, index);
        if (device.violation_count == noted)
            check_order(device, index);
    }
}
