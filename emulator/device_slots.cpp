#include "device_slots.h"

namespace {

bool is_stream(std::uint8_t type)
{
    return is_kind(type, slot_kind::empty_stream) || is_kind(type, slot_kind::loaded_stream);
}

} // namespace

bool is_kind(std::uint8_t type, slot_kind kind)
{
    constexpr std::uint8_t kind_bits = 0x03;
    return (type & used_slot_bit) != 0 && (type & kind_bits) == static_cast<std::uint8_t>(kind);
}

device_slot slot_at(const epld_model& device, std::uint32_t index)
{
    const std::uint32_t slots_max = device.new_generation ? epld_model::slots_max : old_slots_max;
    const std::size_t at = std::size_t{index} * slot_header_size;
    if (index >= slots_max || (device.memory[at] & used_slot_bit) == 0)
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

std::uint32_t slots_of(const epld_model& device)
{
    std::uint32_t count = 0;
    while (slot_at(device, count).type != 0)
        ++count;
    return count;
}

std::uint32_t run_size(const device_slot& slot)
{
    return slot.packets == 0
        ? 0
        : (slot.packets - 1) * static_cast<std::uint32_t>(ts_packet_size) + slot.last_packet_size;
}

std::uint32_t stream_number(const epld_model& device, std::uint32_t index)
{
    std::uint32_t number = 0;
    for (std::uint32_t i = 0; i < index; ++i)
        number += is_stream(slot_at(device, i).type) ? 1U : 0U;
    return number;
}
