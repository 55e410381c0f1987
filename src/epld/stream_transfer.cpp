#include "stream_transfer.h"

#include "protocol.h"
#include "slot_header.h"
#include "ts_packet.h"

#include <algorithm>
#include <cstdio>
#include <span>

namespace {

constexpr int polls_max = 5000;
constexpr std::uint32_t poll_pause_us = 1000;

/// Asks the device every 1 ms until its answer ends the wait. Returns false, after a message, when a
/// request fails or no such answer comes.
template <typename question, typename end_of_wait>
bool wait_for_slot(question ask, end_of_wait ends, const char* message)
{
    for (int poll = 0; poll < polls_max; ++poll) {
        const std::int32_t answer = ask();
        if (answer < 0)
            break;
        if (ends(answer))
            return true;
        bus_pause(poll_pause_us);
    }
    std::puts(message);
    return false;
}

constexpr std::uint32_t packet_payload_size = packet_size - dvb_header_size;
constexpr std::uint8_t unused_byte = 0xFF;

/// The block whose first byte is the next to go; null in the middle of a PES packet.
const block* starting_block(const subtitle_stream& stream)
{
    if (stream.cursor == stream.display_set->buffer)
        return stream.display_set;
    return stream.cursor == stream.refresh->buffer ? stream.refresh : nullptr;
}

/// Packets for the rest of the PES packet, at most those that the slot takes.
std::uint32_t packets_of_load(const subtitle_stream& stream, const block* starting, const stream_slot& slot)
{
    const std::uint64_t bytes = std::uint64_t{stream.remaining} + (starting != nullptr ? pes_header_size : 0);
    const std::uint64_t needed = (bytes - 1) / packet_payload_size + 1;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(needed, slot.capacity));
}

/// Makes the stream's next packet, the first of a PES packet when `starting` is given. Returns the
/// bytes of it that count.
std::size_t fill_packet(
    std::span<std::uint8_t, packet_size> packet, subtitle_stream& stream, const block* starting)
{
    create_dvb_header(packet.first<dvb_header_size>(), stream.pid, starting != nullptr ? 0 : 1,
        stream.continuity_counter++);
    std::size_t position = dvb_header_size;
    if (starting != nullptr) {
        std::ranges::copy(create_pes_header(*starting), packet.begin() + dvb_header_size);
        position += pes_header_size;
    }
    const auto taken = std::min<std::size_t>(stream.remaining, packet.size() - position);
    const auto rest = packet.subspan(position);
    std::copy_n(stream.cursor, taken, rest.begin());
    std::ranges::fill(rest.subspan(taken), unused_byte);
    stream.cursor += taken;
    stream.remaining -= static_cast<std::uint32_t>(taken);
    return position + taken;
}

/// Writes the packets of a load. Returns the bytes that count.
std::uint32_t write_packets(int fd, const stream_slot& slot, subtitle_stream& stream, const block* starting)
{
    send_i2c_offset(fd, slot.data_address);
    std::array<std::uint8_t, packet_size> packet{};
    std::size_t written = 0;
    const std::uint32_t packets = packets_of_load(stream, starting, slot);
    for (std::uint32_t i = 0; i < packets; ++i) {
        written += fill_packet(packet, stream, i == 0 ? starting : nullptr);
        send_i2c_data(fd, packet);
    }
    return static_cast<std::uint32_t>(written);
}

/// Completes the slot's header but for its type. Its second byte holds the address since the layout.
void write_length(int fd, const stream_slot& slot, std::uint32_t written)
{
    const auto [full, last_size] = count_packets(written);
    send_i2c_offset(fd, slot.header_address + 2);
    send_i2c_byte(fd, static_cast<std::uint8_t>(std::uint32_t{full} << 5 | (slot.data_address & 0x1F)));
    send_i2c_byte(fd, last_size);
}

} // namespace

bool wait_until_ready(int fd, const stream_slot& slot)
{
    return wait_for_slot([&] { return is_slot_busy(fd, slot.header_address); },
        [](std::int32_t busy) { return busy == 0; }, "Waiting for slot ready failed !!!");
}

bool wait_until_acknowledged(int fd, const stream_slot& slot)
{
    return wait_for_slot([&] { return is_slot_acknowledged(fd, slot.header_address); },
        [](std::int32_t acknowledged) { return acknowledged != 0; },
        "Waiting for previous slot acknowledged failed !!!");
}

pes_header_bytes create_pes_header(const block& payload)
{
    constexpr std::uint32_t behind_length_field = 8;
    const std::uint32_t length = payload.length + behind_length_field;
    return {
        0x00, 0x00, 0x01,                                                          // packet_start_code_prefix
        0xBD,                                                                      // private_stream_1
        static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length), // PES_packet_length
        0x85,                                                                      // data_alignment_indicator
        0x80,                                                                      // PTS only
        0x05,                                                                      // PES_header_data_length
        0x21, 0x00, 0x01, 0x00, 0x01,                                              // PTS 0
    };
}

void start_pes_packet(subtitle_stream& stream, const block& payload)
{
    stream.cursor = payload.buffer;
    stream.remaining = payload.length;
}

std::int32_t copyStreamToEpld(
    int fd, const stream_slot& slot, subtitle_stream& stream, const stream_slot* previous)
{
    if (!wait_until_ready(fd, slot))
        return -1;
    const block* const starting = starting_block(stream);
    const std::uint32_t written = write_packets(fd, slot, stream, starting);
    write_length(fd, slot, written);
    if (previous != nullptr && !wait_until_acknowledged(fd, *previous))
        return -1;
    send_i2c_offset(fd, slot.header_address);
    send_i2c_byte(fd, static_cast<std::uint8_t>(slot.type | (starting != nullptr ? begins_pes_bit : 0)));
    return static_cast<std::int32_t>(written);
}
