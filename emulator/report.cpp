#include "report.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>
#include <utility>

namespace {

constexpr double second_ns = 1e9;
constexpr double second_us = 1e6;

constexpr std::pair<std::uint8_t, const char*> table_names[] = {
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
};
static_assert(std::size(violation_texts) == violation_kinds, "a text for each kind");

[[gnu::format(printf, 2, 3)]] void add(std::string& text, const char* format, ...)
{
    std::array<char, 512> line{};
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is initialised
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    text += line.data();
}

bool ended_well(const emulation& run, const daemon_end& end)
{
    return WIFEXITED(end.status) && WEXITSTATUS(end.status) == 0 && (run.run_over || !run.device_open);
}

void add_end(std::string& text, const emulation& run, const daemon_end& end)
{
    const double time_s = static_cast<double>(run.now_ns) / second_ns;
    if (WIFSIGNALED(end.status))
        add(text, "daemon: ended by signal %d (%s) after %.3f s\n", WTERMSIG(end.status),
            strsignal(WTERMSIG(end.status)), time_s);
    else if (run.run_over && WEXITSTATUS(end.status) == 0)
        add(text, "daemon: at work when the run ended, after %.3f s\n", time_s);
    else
        add(text, "daemon: ended with status %d after %.3f s\n", WEXITSTATUS(end.status), time_s);
}

void add_packets(std::string& text, const emulation& run)
{
    text += "\n  PID   packets   bit rate   counter errors\n";
    const double time_s = static_cast<double>(run.now_ns) / second_ns;
    for (std::size_t pid = 0; pid < stream_statistics::pids - 1; ++pid) {
        const pid_statistics& counted = run.statistics.by_pid[pid];
        if (counted.packets == 0)
            continue;
        const double bit_rate =
            time_s > 0 ? static_cast<double>(counted.packets * ts_packet_size * 8) / time_s : 0;
        add(text, "%5zu  %8llu  %6.1f kbit/s  %llu\n", pid, static_cast<unsigned long long>(counted.packets),
            bit_rate / 1e3, static_cast<unsigned long long>(counted.counter_errors));
    }
}

const char* table_name(std::uint8_t table_id)
{
    for (const auto& [known, name] : table_names)
        if (known == table_id)
            return name;
    return "other";
}

/// The time since the last section counts, too.
double longest_gap_s(const emulation& run, const table_statistics& table)
{
    return static_cast<double>(std::max(table.longest_gap_us, run.now_ns / 1000 - table.last_us)) / second_us;
}

void add_tables(std::string& text, const emulation& run)
{
    text += "\ntable  PID   sections   longest gap\n";
    for (const table_statistics& table : std::span(run.statistics.tables).first(run.statistics.table_count))
        add(text, "%-5s  %4u  %8llu  %8.3f s\n", table_name(table.table_id), table.pid,
            static_cast<unsigned long long>(table.sections), longest_gap_s(run, table));
}

void add_requests(std::string& text, const emulation& run)
{
    text += "\nbus:";
    for (std::size_t kind = 0; kind < request_kinds; ++kind)
        if (run.faults.requests[kind] != 0)
            add(text, " %llu %s,", static_cast<unsigned long long>(run.faults.requests[kind]),
                name_of(static_cast<request_kind>(kind)).data());
    add(text, " %.3f s on the wire\n", static_cast<double>(run.bus_ns) / second_ns);
    add(text, "clock: read %llu times, %llu sleeps\n", static_cast<unsigned long long>(run.clock_readings),
        static_cast<unsigned long long>(run.sleeps));
    if (run.refused_requests != 0)
        add(text, "bus: %llu requests refused as asked for\n",
            static_cast<unsigned long long>(run.refused_requests));
}

/// Faults of the daemon towards the device.
void add_violations(std::string& text, const epld_model& device)
{
    const std::size_t listed = std::min<std::size_t>(device.violation_count, device.violations.size());
    for (const violation& fault : std::span(device.violations).first(listed))
        add(text, "FAULT: %s (%u) at %.6f s\n", violation_texts[static_cast<std::size_t>(fault.kind)],
            fault.where, static_cast<double>(fault.time_us) / second_us);
    if (device.violation_count > listed)
        add(text, "FAULT: and %zu more\n", device.violation_count - listed);
}

void add_other_faults(std::string& text, const emulation& run, const daemon_end& end)
{
    if (!WIFEXITED(end.status) || WEXITSTATUS(end.status) != 0)
        text += "FAULT: the daemon ended\n";
    if (!run.run_over && run.device_open && WIFEXITED(end.status))
        text += "FAULT: the daemon left the bus open\n";
    for (std::size_t pid = 0; pid < stream_statistics::pids; ++pid) {
        const pid_statistics& counted = run.statistics.by_pid[pid];
        if (counted.counter_errors != 0)
            add(text, "FAULT: continuity counter broken on PID %zu, %llu times\n", pid,
                static_cast<unsigned long long>(counted.counter_errors));
        if (counted.damaged_units != 0)
            add(text, "FAULT: damaged sections or PES packets on PID %zu, %llu of them\n", pid,
                static_cast<unsigned long long>(counted.damaged_units));
    }
    for (const int error : {run.record.error, run.stream.output.error})
        if (error != 0)
            add(text, "FAULT: an output file is incomplete: %s\n", std::strerror(error));
}

} // namespace

bool is_sound(const emulation& run, const daemon_end& end)
{
    return ended_well(run, end) && run.device.violation_count == 0 && counter_errors(run.statistics) == 0
        && damaged_units(run.statistics) == 0 && run.record.error == 0 && run.stream.output.error == 0;
}

std::string summary(const emulation& run, const daemon_end& end)
{
    std::string text;
    add_end(text, run, end);
    add_packets(text, run);
    add_tables(text, run);
    add_requests(text, run);
    add_violations(text, run.device);
    add_other_faults(text, run, end);
    add(text, "\nThe run was %s.\n", is_sound(run, end) ? "sound" : "NOT sound");
    return text;
}
