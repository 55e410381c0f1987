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
            .pid = pid, .table_id = table_id, .sections = 1, .first_us = time_us, .last_us = time_us};
    }
}

/// Whether a PES packet carries a whole display set (ETSI EN 300 743, 7.2.2): its page_state is no "normal
/// case".
bool is_display_set(std::span<const std::uint8_t> pes)
{
    constexpr std::size_t pes_header_size = 14;
    constexpr std::size_t page_state_at = pes_header_size + 2 + 7;
    return pes.size() > page_state_at && pes[3] == 0xBD && pes[pes_header_size + 3] == 0x10
        && (pes[page_state_at] >> 2 & 3) != 0;
}

void count_display_set(pid_statistics& pid, std::int64_t time_us)
{
    if (pid.display_sets++ != 0)
        pid.longest_display_gap_us = std::max(pid.longest_display_gap_us, time_us - pid.last_display_set_us);
    pid.last_display_set_us = time_us;
}

/// CRC-32/MPEG-2 (ISO/IEC 13818-1, annex A), bit by bit.
std::uint32_t add_to_crc(std::uint32_t crc, std::span<const std::uint8_t> bytes)
{
    constexpr std::uint32_t polynomial = 0x04C11DB7;
    for (const std::uint8_t byte : bytes) {
        crc ^= std::uint32_t{byte} << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80000000U) != 0 ? crc << 1 ^ polynomial : crc << 1;
    }
    return crc;
}

/// Begins the unit at the front of a payload, and returns where it begins there.
std::size_t begin_unit(pid_statistics& pid, std::span<const std::uint8_t> payload)
{
    constexpr std::uint8_t tdt_table_id = 0x70; // the one table without a CRC
    pid.is_section = !begins_pes(payload);
    const std::size_t begin = pid.is_section ? 1U + payload[0] : 0U;
    const std::size_t length_at = begin + (pid.is_section ? 1 : 4);
    if (length_at + 2 > payload.size())
        return payload.size();
    const std::uint32_t length = static_cast<std::uint32_t>(payload[length_at]) << 8 | payload[length_at + 1];
    pid.unit_left = pid.is_section ? 3 + (length & 0x0FFF) : 6 + length;
    pid.has_crc = pid.is_section && payload[begin] != tdt_table_id;
    pid.crc = 0xFFFFFFFF;
    return begin;
}

bool is_stuffing(std::span<const std::uint8_t> bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0xFF; });
}

void follow_unit(pid_statistics& pid, bool starts, std::span<const std::uint8_t> payload)
{
    if (starts) {
        pid.damaged_units += pid.unit_left != 0 ? 1 : 0;
        payload = payload.subspan(begin_unit(pid, payload));
    }
    if (pid.unit_left == 0)
        return;
    const auto part = payload.first(std::min<std::size_t>(payload.size(), pid.unit_left));
    const auto rest = payload.subspan(part.size());
    pid.unit_left -= static_cast<std::uint32_t>(part.size());
    if (pid.has_crc)
        pid.crc = add_to_crc(pid.crc, part);
    if (pid.unit_left != 0)
        return;
    const bool sound = (!pid.has_crc || pid.crc == 0) && (pid.is_section ? is_stuffing(rest) : rest.empty());
    pid.damaged_units += sound ? 0 : 1;
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
    const bool starts = (packet[1] & unit_start) != 0 && payload.size() >= 3;
    follow_unit(pid, starts, payload);
    if (starts && begins_pes(payload) && is_display_set(payload))
        count_display_set(pid, time_us);
    if (!starts || begins_pes(payload))
        return;
    const std::size_t section_begin = 1U + payload[0];
    if (section_begin < payload.size())
        count_table(statistics, number, payload[section_begin], time_us);
}

void count_foreign_packet(stream_statistics& statistics, std::span<const std::uint8_t> packet)
{
    ++statistics.by_pid[pid_of(packet)].packets;
}

std::uint64_t counter_errors(const stream_statistics& statistics)
{
    std::uint64_t errors = 0;
    for (const pid_statistics& pid : statistics.by_pid)
        errors += pid.counter_errors;
    return errors;
}

std::uint64_t damaged_units(const stream_statistics& statistics)
{
    std::uint64_t damaged = 0;
    for (const pid_statistics& pid : statistics.by_pid)
        damaged += pid.damaged_units;
    return damaged;
}
