#pragma once

#include "picture.h"
#include "stream_slot.h"

#include <array>
#include <cstdint>

/// The subtitles of one service: two encoded PES payloads that are sent over and over, and how far the
/// one under way has been sent.
struct subtitle_stream {
    block* display_set = nullptr; ///< owned: the full display set
    block* refresh = nullptr;     ///< owned: the page composition alone
    std::uint16_t pid = 0;
    std::uint8_t continuity_counter = 0;  ///< of the next packet on `pid`; never reset
    const std::uint8_t* cursor = nullptr; ///< next byte to send, in one of the two blocks
    std::uint32_t remaining = 0;          ///< bytes to send from there on
};

inline constexpr std::uint32_t pes_header_size = 14; ///< bytes
using pes_header_bytes = std::array<std::uint8_t, pes_header_size>;

/// The header of a PES packet that carries the block (ISO/IEC 13818-1, 2.4.3.6): private_stream_1,
/// aligned data, a PTS of 0.
pes_header_bytes create_pes_header(const block& payload);

/// Starts a PES packet: points the stream at the front of one of its blocks.
void start_pes_packet(subtitle_stream& stream, const block& payload);

/// Loads the slot with the next packets of the PES packet under way, of which something remains: as
/// many as it still needs and the slot takes. Waits until the slot is free and, where a `previous`
/// slot is given, until that one is acknowledged before the slot is armed. Returns the bytes of the
/// load that count, or -1 after a message when a wait fails. For the new generation of the device.
[[nodiscard]] std::int32_t copyStreamToEpld(
    int fd, const stream_slot& slot, subtitle_stream& stream, const stream_slot* previous);
