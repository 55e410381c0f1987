#include "epld_model.h"

#include "device_slots.h"
#include "judge.h"

#include <algorithm>

namespace {

constexpr std::uint8_t control_register = 0;
constexpr std::uint8_t command_register = 2;
constexpr std::uint8_t pointer_register = 11;
constexpr std::uint8_t data_register = 32;

constexpr std::uint8_t insertion_bit = 0x10;
constexpr std::uint8_t delete_tables_command = 7;
constexpr std::uint8_t empty_stream_type = 0x82;

constexpr std::uint8_t unit_start = 0x40; ///< payload_unit_start_indicator, in a packet's second byte

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

bool refuse_transfer(epld_model& device, std::uint8_t register_number)
{
    const bool known = register_number == control_register || register_number == command_register
        || register_number == pointer_register || register_number == data_register;
    judge_unknown_transfer(device, register_number, known);
    return false;
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

bool is_taken_up(const epld_model& device, std::uint32_t index)
{
    return device.unacknowledged_slot != epld_model::every
        && device.unacknowledged_slot != stream_number(device, index);
}

bool waits_to_be_sent(const epld_model& device, std::uint32_t index)
{
    const std::uint8_t type = slot_at(device, index).type;
    return is_kind(type, slot_kind::loaded_stream) && (type & acknowledged_slot_bit) == 0
        && is_taken_up(device, index);
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
    device.memory[std::size_t{device.sending_stream} * slot_header_size] |= acknowledged_slot_bit;
    device.stream_packets_sent = 0;
}

void finish_stream(epld_model& device)
{
    const std::uint32_t index = device.sending_stream;
    if (stream_number(device, index) != device.stuck_slot)
        device.memory[std::size_t{index} * slot_header_size] = empty_stream_type;
    device.last_stream = index;
    device.sending_stream = epld_model::none;
}

void set_control(epld_model& device, std::uint8_t value)
{
    judge_control(device, value);
    const bool was_inserting = is_inserting(device);
    device.control = value;
    if (was_inserting || !is_inserting(device))
        return;
    if (device.inserting_since_us < 0)
        device.inserting_since_us = device.now_us;
    device.table_due_us.fill(device.now_us);
    judge_insertion(device);
}

/// The old generation finds the end of its header table by what deleting leaves there; the new one
/// leaves it to the daemon to write it.
void delete_tables(epld_model& device)
{
    device.memory.fill(0xFF);
    if (!device.new_generation)
        std::fill_n(device.memory.begin(), old_slots_max * slot_header_size, std::uint8_t{0});
    device.tables_deleted = true;
    device.sending_table = epld_model::none;
    device.sending_stream = epld_model::none;
    device.last_stream = epld_model::none;
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
    std::move_backward(packet.begin() + slot_header_size, end, packet.end());
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
    if (number >= slot.packets || valid < slot_header_size || valid > ts_packet_size
        || address + valid > epld_model::memory_size)
        return false;
    std::copy_n(device.memory.begin() + static_cast<std::ptrdiff_t>(address), valid, packet.begin());

    const bool begins_unit = (packet[1] & unit_start) != 0;
    const bool section =
        is_kind(slot.type, slot_kind::table) || (begins_unit && (slot.type & begins_pes_slot_bit) == 0);
    complete_packet(packet, valid, section);
    return true;
}

/// The due table slot that has waited longest, or none.
std::uint32_t due_table(const epld_model& device)
{
    std::uint32_t chosen = epld_model::none;
    std::int64_t earliest = device.now_us + 1;
    for (std::uint32_t index = 0; slot_at(device, index).type != 0; ++index)
        if (is_kind(slot_at(device, index).type, slot_kind::table) && device.table_due_us[index] < earliest) {
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
    const std::uint32_t slots = slots_of(device);
    judge_write(device, bytes.size());
    std::copy_n(bytes.begin(), end - begin, device.memory.begin() + begin);
    device.pointer = (device.pointer + static_cast<std::uint32_t>(bytes.size())) & 0xFFFF;
    judge_written(device, slots, begin, end);
    return true;
}

bool device_read_block(epld_model& device, std::uint8_t register_number, std::span<std::uint8_t> bytes)
{
    if (injected_failure(device))
        return false;
    if (register_number != data_register)
        return refuse_transfer(device, register_number);
    judge_read(device, bytes.size());
    for (std::uint8_t& byte : bytes) {
        byte = device.pointer < epld_model::memory_size ? device.memory[device.pointer] : std::uint8_t{0xFF};
        device.pointer = (device.pointer + 1) & 0xFFFF;
    }
    return true;
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
        if (is_kind(slot_at(device, index).type, slot_kind::table))
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
