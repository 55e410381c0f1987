#include "epld_model.h"

#include <algorithm>

namespace {

constexpr std::uint8_t control_register = 0;
constexpr std::uint8_t command_register = 2;
constexpr std::uint8_t pointer_register = 11;
constexpr std::uint8_t data_register = 32;

constexpr std::uint8_t insertion_bit = 0x10;
constexpr std::uint8_t delete_tables_command = 7;

constexpr std::uint8_t used_bit = 0x80;
constexpr std::uint8_t acknowledged_bit = 0x08;
constexpr std::uint8_t begins_pes_bit = 0x04;
constexpr std::uint8_t kind_bits = 0x03;
constexpr std::uint8_t table_kind = 1;
constexpr std::uint8_t empty_stream_kind = 2;
constexpr std::uint8_t loaded_stream_kind = 3;

constexpr std::size_t header_size = 4;
constexpr std::uint8_t sync_byte = 0x47;
constexpr std::uint8_t unit_start = 0x40; ///< payload_unit_start_indicator, in a packet's second byte
constexpr std::uint32_t old_slots_max = 16;

/// Repetition of each table class. The generations number the classes differently; class 0 of the
/// new one and class 3 of the old one are not used by the daemon.
constexpr std::int64_t second_us = 1'000'000;
constexpr std::array<std::int64_t, 4> old_intervals_us{
    second_us / 10, second_us, 5 * second_us, 5 * second_us};
constexpr std::array<std::int64_t, 4> new_intervals_us{
    second_us / 10, second_us / 10, second_us, 5 * second_us};

bool is_inserting(const epld_model& device)
{
    return (device.control & insertion_bit) != 0;
}

bool is_kind(std::uint8_t type, std::uint8_t kind)
{
    return (type & used_bit) != 0 && (type & kind_bits) == kind;
}

bool is_stream(std::uint8_t type)
{
    return is_kind(type, empty_stream_kind) || is_kind(type, loaded_stream_kind);
}

std::uint32_t run_size(const device_slot& slot)
{
    return slot.packets == 0
        ? 0
        : (slot.packets - 1) * static_cast<std::uint32_t>(ts_packet_size) + slot.last_packet_size;
}

std::uint32_t slots_of(const epld_model& device)
{
    std::uint32_t count = 0;
    while (slot_at(device, count).type != 0)
        ++count;
    return count;
}

/// The position of a stream slot among the stream slots.
std::uint32_t stream_number(const epld_model& device, std::uint32_t index)
{
    std::uint32_t number = 0;
    for (std::uint32_t i = 0; i < index; ++i)
        number += is_stream(slot_at(device, i).type) ? 1U : 0U;
    return number;
}

bool injected_failure(epld_model& device)
{
    if (device.requests_until_fault == epld_model::never)
        return false;
    if (device.requests_until_fault > 0) {
        --device.requests_until_fault;
        return false;
    }
    device.requests_until_fault = epld_model::never;
    return true;
}

bool refuse(epld_model& device, violation_kind kind, std::uint32_t where)
{
    report_violation(device, kind, where);
    return false;
}

bool refuse_transfer(epld_model& device, std::uint8_t register_number)
{
    const bool known = register_number == control_register || register_number == command_register
        || register_number == pointer_register || register_number == data_register;
    return refuse(
        device, known ? violation_kind::unknown_transfer : violation_kind::unknown_register, register_number);
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
    const auto where = static_cast<std::uint32_t>(index * header_size);
    if (!is_known_type(device, slot.type) || slot.last_packet_size > ts_packet_size
        || (slot.packets != 0 && slot.last_packet_size <= header_size))
        return report_violation(device, violation_kind::bad_slot_header, where);
    if (slot.address + run_size(slot) > epld_model::memory_size)
        return report_violation(device, violation_kind::run_leaves_memory, where);
    if (is_kind(slot.type, empty_stream_kind))
        return;
    if (!has_sync_bytes(device, slot))
        return report_violation(device, violation_kind::bad_packet, slot.address);
    if (is_kind(slot.type, loaded_stream_kind)
        && begins_pes_packet(device, slot.address) != ((slot.type & begins_pes_bit) != 0))
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
        bool overlaps = overlap(slot.address, end, 0, slots * static_cast<std::uint32_t>(header_size));
        for (std::uint32_t j = 0; j < i; ++j)
            overlaps |= overlap(slot.address, end, slot_at(device, j).address, run_size(slot_at(device, j)));
        if (overlaps)
            report_violation(device, violation_kind::runs_overlap, slot.address);
    }
}

bool waits_to_be_sent(const epld_model& device, std::uint32_t index)
{
    const std::uint8_t type = slot_at(device, index).type;
    return is_kind(type, loaded_stream_kind) && (type & acknowledged_bit) == 0
        && stream_number(device, index) != device.unacknowledged_slot;
}

/// The loaded stream slot that comes next behind the one sent last, or none.
std::uint32_t waiting_stream(const epld_model& device)
{
    std::uint32_t first = epld_model::none;
    for (std::uint32_t index = 0; slot_at(device, index).type != 0; ++index) {
        if (!waits_to_be_sent(device, index))
            continue;
        if (device.last_stream != epld_model::none && index > device.last_stream)
            return index;
        first = std::min(first, index);
    }
    return first;
}

/// Acknowledges the next loaded stream slot and begins to send it.
void take_up_stream(epld_model& device)
{
    device.sending_stream = waiting_stream(device);
    if (device.sending_stream == epld_model::none)
        return;
    device.memory[device.sending_stream * header_size] |= acknowledged_bit;
    device.stream_packets_sent = 0;
}

void finish_stream(epld_model& device)
{
    const std::uint32_t index = device.sending_stream;
    if (stream_number(device, index) != device.stuck_slot)
        device.memory[index * header_size] = used_bit | empty_stream_kind;
    device.last_stream = index;
    device.sending_stream = epld_model::none;
}

void set_control(epld_model& device, std::uint8_t value)
{
    if (((device.control ^ value) & ~insertion_bit) != 0)
        report_violation(device, violation_kind::control_bits_changed, value);
    const bool was_inserting = is_inserting(device);
    device.control = value;
    if (was_inserting || !is_inserting(device))
        return;
    if (!device.tables_deleted)
        report_violation(device, violation_kind::tables_not_deleted, 0);
    device.table_due_us.fill(device.now_us);
    for (std::uint32_t index = 0; index < slots_of(device); ++index)
        check_slot(device, index);
    check_runs(device);
}

/// The old generation finds the end of its header table by what deleting leaves there; the new one
/// leaves it to the daemon to write it.
void delete_tables(epld_model& device)
{
    device.memory.fill(0xFF);
    if (!device.new_generation)
        std::fill_n(device.memory.begin(), old_slots_max * header_size, std::uint8_t{0});
    device.tables_deleted = true;
    device.sending_table = epld_model::none;
    device.sending_stream = epld_model::none;
    device.last_stream = epld_model::none;
}

void check_busy_slots(epld_model& device, std::uint32_t begin, std::uint32_t end)
{
    for (std::uint32_t index = 0; slot_at(device, index).type != 0; ++index) {
        const device_slot slot = slot_at(device, index);
        if (is_kind(slot.type, loaded_stream_kind)
            && (overlap(begin, end, static_cast<std::uint32_t>(index * header_size), header_size)
                || overlap(begin, end, slot.address, run_size(slot))))
            report_violation(device, violation_kind::busy_slot_overwritten, begin);
    }
}

/// Slot 0 is loaded with subtitles only when slot 1 has been acknowledged. A section may come sooner.
void check_order(epld_model& device, std::uint32_t index)
{
    const device_slot slot = slot_at(device, index);
    const bool section =
        (device.memory[slot.address + 1] & unit_start) != 0 && (slot.type & begins_pes_bit) == 0;
    const std::uint8_t next_type = slot_at(device, index + 1).type;
    if (is_kind(slot.type, loaded_stream_kind) && stream_number(device, index) == 0 && !section
        && is_kind(next_type, loaded_stream_kind) && (next_type & acknowledged_bit) == 0)
        report_violation(
            device, violation_kind::armed_too_early, static_cast<std::uint32_t>(index * header_size));
}

/// A write into a type byte of the header table, of `slots` slots, may have loaded a stream slot.
void check_new_headers(epld_model& device, std::uint32_t slots, std::uint32_t begin, std::uint32_t end)
{
    for (std::uint32_t index = 0; index < slots; ++index) {
        const auto type_address = static_cast<std::uint32_t>(index * header_size);
        if (begin > type_address || type_address >= end)
            continue;
        const std::uint32_t known = device.violation_count;
        check_slot(device, index);
        if (device.violation_count == known)
            check_order(device, index);
    }
}

/// Completes a packet of which only the first `valid` bytes count: 0xFF behind a section
/// (ISO/IEC 13818-1, 2.4.4), an adaptation field before the end of a PES packet (2.4.3.5).
void complete_packet(ts_packet& packet, std::size_t valid, bool section)
{
    auto* const end = packet.begin() + static_cast<std::ptrdiff_t>(valid);
    if (section || valid == packet.size()) {
        std::fill(end, packet.end(), std::uint8_t{0xFF});
        return;
    }
    const std::size_t field_size = packet.size() - valid;
    std::move_backward(packet.begin() + header_size, end, packet.end());
    packet[3] |= 0x20;
    packet[4] = static_cast<std::uint8_t>(field_size - 1);
    if (field_size > 1)
        packet[5] = 0;
    if (field_size > 2)
        std::fill_n(packet.begin() + 6, field_size - 2, std::uint8_t{0xFF});
}

/// Reads packet number `number` of a slot. Returns false when its header is beyond use.
bool read_packet(const epld_model& device, const device_slot& slot, std::uint32_t number, ts_packet& packet)
{
    const bool last = number + 1 >= slot.packets;
    const std::size_t valid = last ? slot.last_packet_size : ts_packet_size;
    const std::size_t address = slot.address + number * ts_packet_size;
    if (number >= slot.packets || valid < header_size || valid > ts_packet_size
        || address + valid > epld_model::memory_size)
        return false;
    std::copy_n(device.memory.begin() + static_cast<std::ptrdiff_t>(address), valid, packet.begin());

    const bool begins_unit = (packet[1] & unit_start) != 0;
    const bool section = is_kind(slot.type, table_kind) || (begins_unit && (slot.type & begins_pes_bit) == 0);
    complete_packet(packet, valid, section);
    return true;
}

/// The due table slot that has waited longest, or none.
std::uint32_t due_table(const epld_model& device)
{
    std::uint32_t chosen = epld_model::none;
    std::int64_t earliest = device.now_us + 1;
    for (std::uint32_t index = 0; slot_at(device, index).type != 0; ++index)
        if (is_kind(slot_at(device, index).type, table_kind) && device.table_due_us[index] < earliest) {
            chosen = index;
            earliest = device.table_due_us[index];
        }
    return chosen;
}

bool send_table_packet(epld_model& device, ts_packet& packet)
{
    if (device.sending_table == epld_model::none) {
        device.sending_table = due_table(device);
        device.table_packets_sent = 0;
        if (device.sending_table == epld_model::none)
            return false;
        device.table_due_us[device.sending_table] +=
            table_interval_us(device, slot_at(device, device.sending_table).type);
    }
    const device_slot slot = slot_at(device, device.sending_table);
    const bool sent = read_packet(device, slot, device.table_packets_sent, packet);
    if (sent) {
        const auto pid = static_cast<std::size_t>((packet[1] & 0x1F) << 8 | packet[2]);
        packet[3] = static_cast<std::uint8_t>((packet[3] & 0xF0) | (device.table_counters[pid]++ & 0x0F));
    }
    if (++device.table_packets_sent >= slot.packets)
        device.sending_table = epld_model::none;
    return sent;
}

bool send_stream_packet(epld_model& device, ts_packet& packet)
{
    if (device.sending_stream == epld_model::none)
        take_up_stream(device);
    if (device.sending_stream == epld_model::none)
        return false;
    const device_slot slot = slot_at(device, device.sending_stream);
    const bool sent = read_packet(device, slot, device.stream_packets_sent, packet);
    if (++device.stream_packets_sent >= slot.packets)
        finish_stream(device);
    return sent;
}

} // namespace

bool device_read_byte(epld_model& device, std::uint8_t register_number, std::uint8_t& value)
{
    if (register_number == data_register)
        return device_read_block(device, register_number, {&value, 1});
    if (injected_failure(device))
        return false;
    if (register_number != control_register)
        return refuse_transfer(device, register_number);
    value = device.control;
    return true;
}

bool device_write_byte(epld_model& device, std::uint8_t register_number, std::uint8_t value)
{
    if (injected_failure(device))
        return false;
    if (register_number == control_register)
        set_control(device, value);
    else if (register_number == command_register && value == delete_tables_command)
        delete_tables(device);
    else
        return refuse_transfer(device, register_number);
    return true;
}

bool device_write_word(epld_model& device, std::uint8_t register_number, std::uint16_t value)
{
    if (injected_failure(device))
        return false;
    if (register_number != pointer_register)
        return refuse_transfer(device, register_number);
    device.pointer = value;
    return true;
}

bool device_write_block(epld_model& device, std::uint8_t register_number, std::span<const std::uint8_t> bytes)
{
    if (injected_failure(device))
        return false;
    if (register_number != data_register || bytes.empty())
        return refuse_transfer(device, register_number);

    const std::uint32_t begin = std::min(device.pointer, epld_model::memory_size);
    const auto end =
        std::min(static_cast<std::uint32_t>(device.pointer + bytes.size()), epld_model::memory_size);
    if (device.pointer + bytes.size() > epld_model::memory_size)
        report_violation(device, violation_kind::write_beyond_memory, device.pointer);
    const std::uint32_t slots = slots_of(device);
    if (is_inserting(device))
        check_busy_slots(device, begin, end);
    std::copy_n(bytes.begin(), end - begin, device.memory.begin() + begin);
    device.pointer = (device.pointer + static_cast<std::uint32_t>(bytes.size())) & 0xFFFF;
    if (is_inserting(device))
        check_new_headers(device, slots, begin, end);
    return true;
}

bool device_read_block(epld_model& device, std::uint8_t register_number, std::span<std::uint8_t> bytes)
{
    if (injected_failure(device))
        return false;
    if (register_number != data_register)
        return refuse_transfer(device, register_number);
    if (device.pointer + bytes.size() > epld_model::memory_size)
        report_violation(device, violation_kind::read_beyond_memory, device.pointer);
    for (std::uint8_t& byte : bytes) {
        byte = device.pointer < epld_model::memory_size ? device.memory[device.pointer] : std::uint8_t{0xFF};
        device.pointer = (device.pointer + 1) & 0xFFFF;
    }
    return true;
}

void report_violation(epld_model& device, violation_kind kind, std::uint32_t where)
{
    if (device.violation_count < device.violations.size())
        device.violations[device.violation_count] =
            violation{.kind = kind, .where = where, .time_us = device.now_us};
    ++device.violation_count;
}

device_slot slot_at(const epld_model& device, std::uint32_t index)
{
    const std::uint32_t slots_max = device.new_generation ? epld_model::slots_max : old_slots_max;
    const std::size_t at = index * header_size;
    if (index >= slots_max || (device.memory[at] & used_bit) == 0)
        return {};
    const std::uint32_t high = device.memory[at + 1];
    const std::uint32_t low = device.memory[at + 2];
    const std::uint32_t last = device.memory[at + 3];
    if (!device.new_generation)
        return {.type = device.memory[at],
            .address = high << 8 | low,
            .packets = last,
            .last_packet_size = last == 0 ? 0U : static_cast<std::uint32_t>(ts_packet_size)};
    return {.type = device.memory[at],
        .address = high << 5 | (low & 0x1F),
        .packets = last == 0 ? 0 : (low >> 5) + 1,
        .last_packet_size = last};
}

std::int64_t next_packet_due_us(const epld_model& device)
{
    if (!is_inserting(device))
        return epld_model::never;
    if (device.sending_table != epld_model::none || device.sending_stream != epld_model::none
        || waiting_stream(device) != epld_model::none)
        return device.now_us;
    std::int64_t due = epld_model::never;
    for (std::uint32_t index = 0; slot_at(device, index).type != 0; ++index)
        if (is_kind(slot_at(device, index).type, table_kind))
            due = std::min(due, device.table_due_us[index]);
    return std::max(due, device.now_us);
}

bool send_packet(epld_model& device, ts_packet& packet)
{
    if (!is_inserting(device))
        return false;
    device.streams_turn = !device.streams_turn;
    if (device.streams_turn)
        return send_stream_packet(device, packet) || send_table_packet(device, packet);
    return send_table_packet(device, packet) || send_stream_packet(device, packet);
}

std::int64_t table_interval_us(const epld_model& device, std::uint8_t type)
{
    const std::size_t table_class = type >> 4 & 3;
    return device.new_generation ? new_intervals_us[table_class] : old_intervals_us[table_class];
}
