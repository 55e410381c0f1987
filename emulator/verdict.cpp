#include "verdict.h"

#include "device_slots.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>

namespace {

constexpr double second_us = 1e6;
constexpr std::uint16_t time_pid = 20;

struct named_table {
    std::uint8_t id = 0;
    const char* name = "";
};
constexpr named_table table_names[] = {
    {0x00, "PAT"}, {0x02, "PMT"}, {0x40, "NIT"}, {0x42, "SDT"}, {0x4E, "EIT"}, {0x70, "TDT"}, {0x73, "TOT"}};

constexpr const char* violation_texts[] = {
    "unknown register",
    "transfer that the register does not know",
    "write beyond packet memory",
    "read beyond packet memory",
    "stream slot overwritten while it was busy",
    "slot whose packets leave packet memory",
    "slot header that the device does not know",
    "slot whose packet does not begin with 0x47",
    "transfer before the bus was bound to address 5",
    "packets of a slot over those of another slot, or over the header table",
    "stream slot 0 loaded before slot 1 was acknowledged",
    "insertion switched on without deleting the tables first",
    "other bits of register 0 changed than that of insertion",
    "bus opened as a standard stream, where messages go",
};
static_assert(std::size(violation_texts) == violation_kinds, "a text for each kind");

using fault_list = std::vector<std::string>;

// What the daemon did towards the device

void add_violations(fault_list& faults, const epld_model& device)
{
    const std::size_t listed = std::min<std::size_t>(device.violation_count, device.violations.size());
    for (const violation& fault : std::span(device.violations).first(listed))
        faults.push_back(printed("%s (%u) at %.6f s", violation_texts[static_cast<std::size_t>(fault.kind)],
            fault.where, static_cast<double>(fault.time_us) / second_us));
    if (device.violation_count > listed)
        faults.push_back(printed("and %zu more", device.violation_count - listed));
}

void add_end(fault_list& faults, const emulation& run, const daemon_end& end)
{
    const bool idle = run.output_on_ethernet && !run.device_open && run.faults.all_requests == 0
        && WIFEXITED(end.status) && WEXITSTATUS(end.status) == 0;
    if (was_at_work(run, end) || idle)
        return;
    faults.emplace_back("the daemon ended");
    if (run.device_open && WIFEXITED(end.status))
        faults.emplace_back("the daemon left the bus open");
}

// What left the board

void add_stream_faults(fault_list& faults, const emulation& run)
{
    for (std::size_t pid = 0; pid < stream_statistics::pids; ++pid) {
        const pid_statistics& counted = run.statistics.by_pid[pid];
        if (counted.counter_errors != 0)
            faults.push_back(printed("continuity counter broken on PID %zu, %llu times", pid,
                static_cast<unsigned long long>(counted.counter_errors)));
        if (counted.damaged_units != 0)
            faults.push_back(printed("damaged sections or PES packets on PID %zu, %llu of them", pid,
                static_cast<unsigned long long>(counted.damaged_units)));
    }
    for (const int error : {run.record.error, run.stream.output.error})
        if (error != 0)
            faults.push_back(printed("an output file is incomplete: %s", std::strerror(error)));
}

/// The time since the last section counts, too.
std::int64_t longest_gap_us(const emulation& run, std::int64_t longest_us, std::int64_t last_us)
{
    return std::max(longest_us, run.now_ns / 1000 - last_us);
}

/// A table that has to be sent on a PID at least every `most_us`, from insertion on.
void require_table(
    fault_list& faults, const emulation& run, std::uint16_t pid, std::uint8_t id, std::int64_t most_us)
{
    const auto tables = std::span(run.statistics.tables).first(run.statistics.table_count);
    const auto found = std::find_if(tables.begin(), tables.end(),
        [&](const table_statistics& table) { return table.pid == pid && table.table_id == id; });
    const std::int64_t began_us = run.device.inserting_since_us;
    const std::int64_t gap_us = found == tables.end()
        ? run.now_ns / 1000 - began_us
        : std::max(found->first_us - began_us, longest_gap_us(run, found->longest_gap_us, found->last_us));
    if (gap_us > most_us)
        faults.push_back(printed(
            "%.3f s without %s on PID %u", static_cast<double>(gap_us) / second_us, table_name(id), pid));
}

/// The section at the front of a table slot, as far as its first packet goes.
std::span<const std::uint8_t> section_of(const emulation& run, std::uint16_t pid)
{
    for (std::uint32_t index = 0; index < slots_of(run.device); ++index) {
        const device_slot slot = slot_at(run.device, index);
        const std::size_t address = slot.address;
        if (!is_kind(slot.type, slot_kind::table) || address + ts_packet_size > epld_model::memory_size)
            continue;
        const auto packet = std::span(run.device.memory).subspan(address, ts_packet_size);
        if (pid_of(packet) == pid)
            return packet.subspan(5); // behind header and pointer_field
    }
    return {};
}

/// Part of a section between two positions, as long as it is there and before its CRC_32.
std::span<const std::uint8_t> entries_of(std::span<const std::uint8_t> section, std::size_t from)
{
    if (section.size() < 3)
        return {};
    const std::size_t length = 3U + (static_cast<std::size_t>(section[1] & 0x0F) << 8 | section[2]);
    const std::size_t end = std::min(length - std::min<std::size_t>(length, 4), section.size());
    return section.subspan(std::min(from, end), end - std::min(from, end));
}

std::uint16_t u16_at(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

/// PIDs of the PMTs that the PAT names, but not that of the NIT.
std::vector<std::uint16_t> program_pids(const emulation& run)
{
    std::vector<std::uint16_t> pids;
    const auto entries = entries_of(section_of(run, 0), 8);
    for (std::size_t at = 0; at + 4 <= entries.size(); at += 4)
        if (u16_at(entries, at) != 0)
            pids.push_back(u16_at(entries, at + 2) & 0x1FFF);
    return pids;
}

/// PIDs of the streams of private PES packets that a PMT announces.
std::vector<std::uint16_t> subtitle_pids(const emulation& run, std::uint16_t pmt_pid)
{
    constexpr std::uint8_t private_pes_data = 0x06;
    std::vector<std::uint16_t> pids;
    const auto entries = entries_of(section_of(run, pmt_pid), 12);
    for (std::size_t at = 0; at + 5 <= entries.size(); at += 5U + (u16_at(entries, at + 3) & 0x0FFF))
        if (entries[at] == private_pes_data)
            pids.push_back(u16_at(entries, at + 1) & 0x1FFF);
    return pids;
}

/// How long a cycle of all services takes, as far as the run tells: the time from one display set of a
/// service to its next, or without a next one.
std::int64_t cycle_us(const emulation& run, const std::vector<std::uint16_t>& subtitles)
{
    std::int64_t longest_us = 0;
    for (const std::uint16_t pid : subtitles) {
        const pid_statistics& counted = run.statistics.by_pid[pid];
        const std::int64_t last_us =
            counted.display_sets == 0 ? run.device.inserting_since_us : counted.last_display_set_us;
        longest_us = std::max(longest_us, longest_gap_us(run, counted.longest_display_gap_us, last_us));
    }
    return longest_us;
}

/// When one service has been shown twice, all have been once.
void require_subtitles(fault_list& faults, const emulation& run, const std::vector<std::uint16_t>& subtitles)
{
    const bool cycle_seen = std::any_of(subtitles.begin(), subtitles.end(),
        [&](std::uint16_t pid) { return run.statistics.by_pid[pid].display_sets > 1; });
    for (const std::uint16_t pid : subtitles)
        if (cycle_seen && run.statistics.by_pid[pid].display_sets == 0)
            faults.push_back(printed("no subtitles on PID %u, where a PMT announces them", pid));
}

void require_tables(fault_list& faults, const emulation& run)
{
    // By the device's classes, with time for a device that has much to send.
    constexpr std::int64_t fast_us = 1'500'000;
    constexpr std::int64_t slow_us = 11'000'000;
    constexpr std::int64_t refresh_us = 21'000'000;
    require_table(faults, run, 0, 0x00, fast_us);
    require_table(faults, run, 16, 0x40, slow_us);
    require_table(faults, run, 17, 0x42, slow_us);
    require_table(faults, run, 18, 0x4E, slow_us);
    std::vector<std::uint16_t> subtitles;
    for (const std::uint16_t pid : program_pids(run)) {
        require_table(faults, run, pid, 0x02, fast_us);
        const auto announced = subtitle_pids(run, pid);
        subtitles.insert(subtitles.end(), announced.begin(), announced.end());
    }
    require_subtitles(faults, run, subtitles);
    const std::int64_t cycle = cycle_us(run, subtitles);
    require_table(faults, run, time_pid, 0x70, refresh_us + cycle);
    require_table(faults, run, time_pid, 0x73, refresh_us + cycle);
}

} // namespace

std::vector<std::string> faults_of(const emulation& run, const std::optional<daemon_end>& end)
{
    fault_list faults;
    add_violations(faults, run.device);
    if (end.has_value())
        add_end(faults, run, *end);
    add_stream_faults(faults, run);
    if (run.device.inserting_since_us >= 0)
        require_tables(faults, run);
    else if (!run.output_on_ethernet)
        faults.emplace_back("insertion was never switched on");
    return faults;
}

bool was_at_work(const emulation& run, const daemon_end& end)
{
    return run.run_over && WIFEXITED(end.status) && WEXITSTATUS(end.status) == 0;
}

const char* table_name(std::uint8_t table_id)
{
    for (const auto& [id, name] : table_names)
        if (id == table_id)
            return name;
    return "other";
}

std::string printed(const char* format, ...)
{
    std::array<char, 512> line{};
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is initialised
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    return line.data();
}
