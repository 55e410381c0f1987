#pragma once

#include "picture.h"

#include <array>
#include <cstdint>

/// One of the two stream slots, which the daemon loads in turn and the device sends once per load.
struct stream_slot {
    std::uint32_t header_address = 0; ///< of its 4-byte header in packet memory
    std::uint32_t data_address = 0;   ///< of its packet run
    std::uint8_t capacity = 0;        ///< packets per load, at most 8
    std::uint8_t type = 0;            ///< type byte written when it is loaded
};

/// Waits until the device has sent the slot's last load: polls every 1 ms, at most 5000 times.
/// Returns false, after a message on standard output, when a poll fails or the slot is still busy.
[[nodiscard]] bool wait_until_ready(int fd, const stream_slot& slot);

/// Waits in the same way until the device has taken the slot up: it sends it now, or has sent it.
[[nodiscard]] bool wait_until_acknowledged(int fd, const stream_slot& slot);

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
