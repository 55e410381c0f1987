#pragma once

#include "epld_model.h"

// The header table of the device, decoded.

inline constexpr std::uint32_t slot_header_size = 4; ///< bytes

/// A slot of the header table.
struct device_slot {
    std::uint8_t type = 0;
    std::uint32_t address = 0; ///< of its first packet
    std::uint32_t packets = 0;
    std::uint32_t last_packet_size = 0; ///< bytes of its last packet that count
};

/// What bits 1 and 0 of a type byte say, and other bits of it.
enum class slot_kind : std::uint8_t { table = 1, empty_stream = 2, loaded_stream = 3 };
inline constexpr std::uint8_t used_slot_bit = 0x80;
inline constexpr std::uint8_t acknowledged_slot_bit = 0x08;
inline constexpr std::uint8_t begins_pes_slot_bit = 0x04;

/// Slots that the header table of the old generation has; the rest of its memory is packets.
inline constexpr std::uint32_t old_slots_max = 16;

[[nodiscard]] bool is_kind(std::uint8_t type, slot_kind kind);

/// The slot at an index of the header table; type 0 behind the last one.
[[nodiscard]] device_slot slot_at(const epld_model& device, std::uint32_t index);

/// The number of slots in the header table.
[[nodiscard]] std::uint32_t slots_of(const epld_model& device);

/// Bytes of a slot's packets that count.
[[nodiscard]] std::uint32_t run_size(const device_slot& slot);

/// The position of a stream slot among the stream slots.
[[nodiscard]] std::uint32_t stream_number(const epld_model& device, std::uint32_t index);
