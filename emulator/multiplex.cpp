#include "multiplex.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr std::uint16_t null_pid = 0x1FFF;
constexpr std::uint16_t last_si_pid = 31;
constexpr double clock_hz = 27e6;
constexpr std::int64_t clock_wrap = (std::int64_t{1} << 33) * 300;
constexpr std::uint8_t sync_byte = 0x47;

constexpr ts_packet make_null_packet()
{
    ts_packet packet{};
    packet.fill(0xFF);
    packet[0] = sync_byte;
    packet[1] = 0x1F;
    packet[3] = 0x10;
    return packet;
}

constexpr ts_packet null_packet = make_null_packet();

ts_packet make_clock_packet(std::int64_t clock)
{
    const auto base = static_cast<std::uint64_t>(clock % clock_wrap / 300);
    const auto extension = static_cast<std::uint64_t>(clock % 300);
    const std::uint64_t field = base << 15 | std::uint64_t{0x3F} << 9 | extension;

    ts_packet packet{};
    packet.fill(0xFF);
    packet[0] = sync_byte;
    packet[1] = multiplex::clock_pid >> 8;
    packet[2] = multiplex::clock_pid & 0xFF;
    packet[3] = 0x20; // adaptation field only
    packet[4] = 183;
    packet[5] = 0x10; // PCR_flag
    for (std::size_t i = 0; i < 6; ++i)
        packet[6 + i] = static_cast<std::uint8_t>(field >> (40 - 8 * i));
    return packet;
}

/// The PCR of a packet, in periods of 27 MHz.
std::optional<std::int64_t> clock_of(std::span<const std::uint8_t> packet)
{
    if ((packet[3] & 0x20) == 0 || packet[4] < 7 || (packet[5] & 0x10) == 0)
        return {};
    std::int64_t field = 0;
    for (std::size_t i = 0; i < 6; ++i)
        field = field << 8 | packet[6 + i];
    return (field >> 15) * 300 + (field & 0x1FF);
}

std::int64_t time_us(const multiplex& stream, std::uint64_t packet)
{
    return static_cast<std::int64_t>(static_cast<double>(packet) / stream.packets_per_second * 1e6);
}

std::int64_t clock_at(const multiplex& stream, std::uint64_t packet)
{
    return stream.first_clock
        + static_cast<std::int64_t>(static_cast<double>(packet) / stream.packets_per_second * clock_hz);
}

std::span<const std::uint8_t> packet_at(std::span<const std::uint8_t> bytes, std::uint64_t number)
{
    return bytes.subspan(static_cast<std::size_t>(number) * ts_packet_size, ts_packet_size);
}

/// Marks the PMT PIDs of a PAT that fits into one packet.
void drop_programs(multiplex& stream, std::span<const std::uint8_t> packet)
{
    const std::size_t section = 5U + packet[4];
    if ((packet[1] & 0x40) == 0 || section + 8 > packet.size() || packet[section] != 0)
        return;
    const std::size_t section_length =
        static_cast<std::size_t>(packet[section + 1] & 0x0F) << 8 | packet[section + 2];
    const std::size_t end = std::min(section + 3 + section_length, packet.size());
    for (std::size_t entry = section + 8; entry + 8 <= end; entry += 4)
        stream.dropped.set(pid_of(packet.subspan(entry + 1, 3)));
}

struct clock_sample {
    std::uint16_t pid = 0;
    std::uint64_t packet = 0;
    std::int64_t clock = 0;
};

/// The rate follows from the first and the last clock of one PID.
std::string measure_rate(multiplex& stream, const clock_sample& first, const clock_sample& last)
{
    if (first.packet == last.packet)
        return "it carries no program clock (PCR)";
    const std::int64_t elapsed = (last.clock - first.clock + clock_wrap) % clock_wrap;
    if (elapsed == 0)
        return "its program clock stands still";
    stream.packets_per_second =
        static_cast<double>(last.packet - first.packet) / (static_cast<double>(elapsed) / clock_hz);
    const auto lead =
        static_cast<std::int64_t>(static_cast<double>(first.packet) / stream.packets_per_second * clock_hz);
    stream.first_clock = (first.clock - lead + clock_wrap) % clock_wrap;
    return {};
}

bool nothing_can_be_sent(const multiplex& stream)
{
    return stream.encoder_packets == 0 && stream.output.descriptor < 0;
}

/// Null packets that nobody sees are passed over at once, but none behind `until_us`: by then the
/// daemon may have loaded a slot.
void skip_null_packets(multiplex& stream, const epld_model& device, std::int64_t until_us)
{
    const std::int64_t due_us = std::min({next_packet_due_us(device), stream.next_clock_us, until_us + 1});
    const auto packet =
        static_cast<std::uint64_t>(std::floor(static_cast<double>(due_us) * stream.packets_per_second / 1e6));
    stream.next_packet = std::max(stream.next_packet, packet);
    while (time_us(stream, stream.next_packet) < due_us)
        ++stream.next_packet;
}

/// What is sent in place of a null packet.
ts_packet fill_null_packet(multiplex& stream, epld_model& device)
{
    const std::int64_t now_us = device.now_us;
    if (!stream.encoder_has_clock && now_us >= stream.next_clock_us) {
        stream.next_clock_us += multiplex::clock_interval_us;
        return make_clock_packet(clock_at(stream, stream.next_packet));
    }
    ts_packet packet{};
    if (now_us < stream.device_ready_us || !send_packet(device, packet))
        return null_packet;
    stream.device_ready_us =
        std::max(stream.device_ready_us + stream.device_interval_us, now_us + stream.device_interval_us / 2);
    return packet;
}

/// The encoder's packet at this place; empty where there is none, or one that is replaced.
std::span<const std::uint8_t> encoder_packet(const multiplex& stream, std::span<const std::uint8_t> encoder)
{
    if (stream.next_packet >= stream.encoder_packets)
        return {};
    const auto packet = packet_at(encoder, stream.next_packet);
    const std::uint16_t pid = pid_of(packet);
    return pid == null_pid || stream.dropped.test(pid) ? std::span<const std::uint8_t>{} : packet;
}

bool is_of_daemon(std::uint16_t pid)
{
    constexpr std::uint16_t first_pmt = 256;
    constexpr std::uint16_t first_subtitle = 4368;
    constexpr std::uint16_t services = 40;
    const auto is_from = [pid](std::uint16_t first) { return pid >= first && pid < first + services; };
    return is_from(first_pmt) || is_from(first_subtitle);
}

/// Looks for what the device needs: null packets, and PIDs of its own.
std::string check_pids(const multiplex& stream, const std::bitset<stream_statistics::pids>& used)
{
    bool replaceable = false;
    for (std::uint16_t pid = 0; pid < stream_statistics::pids; ++pid) {
        const bool replaced = pid == null_pid || stream.dropped.test(pid);
        replaceable |= used.test(pid) && replaced;
        if (used.test(pid) && !replaced && is_of_daemon(pid))
            return "its PID " + std::to_string(pid) + " is one of the daemon's";
    }
    return replaceable ? "" : "it has no null packets that the device could replace";
}

} // namespace

void use_null_packets(multiplex& stream, std::int64_t packet_rate)
{
    constexpr double clocks_per_second = 1e6 / multiplex::clock_interval_us;
    stream.packets_per_second = static_cast<double>(packet_rate) + clocks_per_second;
}

std::string use_encoder(multiplex& stream, std::span<const std::uint8_t> bytes, std::int64_t packet_rate)
{
    stream.encoder_packets = bytes.size() / ts_packet_size;
    stream.device_interval_us = 1'000'000 / packet_rate;
    for (std::uint16_t pid = 0; pid <= last_si_pid; ++pid)
        stream.dropped.set(pid);

    std::bitset<stream_statistics::pids> used;
    clock_sample first;
    clock_sample last;
    for (std::uint64_t number = 0; number < stream.encoder_packets; ++number) {
        const auto packet = packet_at(bytes, number);
        if (packet[0] != sync_byte)
            return "it is not a transport stream: packet " + std::to_string(number) + " has no sync byte";
        const std::uint16_t pid = pid_of(packet);
        used.set(pid);
        if (pid == 0)
            drop_programs(stream, packet);
        const auto clock = clock_of(packet);
        if (!clock.has_value())
            continue;
        stream.encoder_has_clock |= pid == multiplex::clock_pid;
        if (first.pid == 0)
            first = last = {.pid = pid, .packet = number, .clock = *clock};
        else if (pid == first.pid)
            last = {.pid = pid, .packet = number, .clock = *clock};
    }
    const std::string fault = measure_rate(stream, first, last);
    return fault.empty() ? check_pids(stream, used) : fault;
}

std::int64_t encoder_end_us(const multiplex& stream)
{
    return time_us(stream, stream.encoder_packets);
}

void run_multiplex(multiplex& stream, std::span<const std::uint8_t> encoder, epld_model& device,
    stream_statistics& statistics, std::int64_t until_us)
{
    for (;;) {
        if (nothing_can_be_sent(stream))
            skip_null_packets(stream, device, until_us);
        const std::int64_t now_us = time_us(stream, stream.next_packet);
        if (now_us > until_us)
            break;
        device.now_us = now_us;
        if (const auto given = encoder_packet(stream, encoder); !given.empty()) {
            count_foreign_packet(statistics, given);
            append(stream.output, given);
        } else {
            const ts_packet packet = fill_null_packet(stream, device);
            count_packet(statistics, packet, now_us);
            if (stream.encoder_packets == 0 || stream.next_packet < stream.encoder_packets)
                append(stream.output, packet);
        }
        ++stream.next_packet;
    }
    device.now_us = until_us;
}
