#include "stream_statistics.h"

#include <algorithm>

namespace {

constexpr std::uint8_t unit_start = 0x40;
constexpr std::uint8_t has_payload = 0x10;
constexpr std::uint8_t has_adaptation_field = 0x20;
constexpr std::uint16_t null_pid = 0x1FFF;

void count_continuity(pid_statistics& pid, std::uint8_t counter)
{
    if (pid.has_counter && counter != ((pid.last_counter + 1) & 0x0F))
        ++pid.counter_errors;
    pid.has_counter = true;
    pid.last_counter = counter;
}

/// The packet's payload, empty when the adaptation field leaves none.
std::span<const std::uint8_t> payload_of(const ts_packet& packet)
{
    std::size_t begin = 4;
    if ((packet[3] & has_adaptation_field) != 0)
        begin += 1U + packet[4];
    return std::span(packet).subspan(std::min(begin, packet.size()));
}

bool begins_pes(std::span<const std::uint8_t> payload)
{
    return payload[0] == 0 && payload[1] == 0 && payload[2] == 1;
}

void count_table(
    stream_statistics& statistics, std::uint16_t pid, std::uint8_t table_id, std::int64_t time_us)
{
    const auto tables = std::span(statistics.tables).first(statistics.table_count);
    const auto known = std::find_if(tables.begin(), tables.end(),
        [&](const table_statistics& table) { return table.pid == pid && table.table_id == table_id; });
    if (known != tables.end()) {
        known->longest_gap_us = std::max(known->longest_gap_us, time_us - known->last_us);
        known->last_us = time_us;
        ++known->sections;
    } else if (statistics.table_count < statistics.tables.size()) {
        statistics.tables[statistics.table_count++] = {
            .pid = pid, .table_id = table_id, .sections = 1, .last_us = time_us};
    }
}

} // namespace

std::uint16_t pid_of(std::span<const std::uint8_t> packet)
{
    return static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
}

void count_packet(stream_statistics& statistics, const ts_packet& packet, std::int64_t time_us)
{
    const std::uint16_t number = pid_of(packet);
    pid_statistics& pid = statistics.by_pid[number];
    ++pid.packets;
    if ((packet[3] & has_payload) == 0 || number == null_pid)
        return;
    count_continuity(pid, packet[3] & 0x0F);

    const auto payload = payload_of(packet);
    if ((packet[1] & unit_start) == 0 || payload.size() < 3 || begins_pes(payload))
        return;
    const std::size_t section_begin = 1U + payload[0];
    if (section_begin < payload.size())
        count_table(statistics, number, payload[section_begin], time_us);
}

std::uint64_t counter_errors(const stream_statistics& statistics)
{
    std::uint64_t errors = 0;
    for (const pid_statistics& pid : statistics.by_pid)
        errors += pid.counter_errors;
    return errors;
}
