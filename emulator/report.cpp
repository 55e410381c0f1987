#include "report.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <sys/wait.h>

namespace {

constexpr double second_ns = 1e9;
constexpr double second_us = 1e6;

void add_end(std::string& text, const emulation& run, const daemon_end& end)
{
    const double time_s = static_cast<double>(run.now_ns) / second_ns;
    if (WIFSIGNALED(end.status))
        text += printed("daemon: ended by signal %d (%s) after %.3f s\n", WTERMSIG(end.status),
            strsignal(WTERMSIG(end.status)), time_s);
    else if (was_at_work(run, end))
        text += printed("daemon: at work when the run ended, after %.3f s\n", time_s);
    else
        text += printed("daemon: ended with status %d after %.3f s\n", WEXITSTATUS(end.status), time_s);
}

void add_packets(std::string& text, const emulation& run)
{
    text += "\n  PID   packets   bit rate   counter errors\n";
    const double time_s = static_cast<double>(run.now_ns - run.counting_since_ns) / second_ns;
    for (std::size_t pid = 0; pid < stream_statistics::pids - 1; ++pid) {
        const pid_statistics& counted = run.statistics.by_pid[pid];
        if (counted.packets == 0)
            continue;
        const double bit_rate =
            time_s > 0 ? static_cast<double>(counted.packets * ts_packet_size * 8) / time_s : 0;
        text += printed("%5zu  %8llu  %6.1f kbit/s  %llu\n", pid,
            static_cast<unsigned long long>(counted.packets), bit_rate / 1e3,
            static_cast<unsigned long long>(counted.counter_errors));
    }
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
        text += printed("%-5s  %4u  %8llu  %8.3f s\n", table_name(table.table_id), table.pid,
            static_cast<unsigned long long>(table.sections), longest_gap_s(run, table));
}

void add_requests(std::string& text, const emulation& run)
{
    text += "\nbus:";
    for (std::size_t kind = 0; kind < request_kinds; ++kind)
        if (run.faults.requests[kind] != 0)
            text += printed(" %llu %s,", static_cast<unsigned long long>(run.faults.requests[kind]),
                name_of(static_cast<request_kind>(kind)).data());
    text += printed(" %.3f s on the wire\n", static_cast<double>(run.bus_ns) / second_ns);
    if (run.daemon != 0) // only a daemon of ours can be seen to look at the clock
        text += printed("clock: read %llu times, %llu sleeps\n",
            static_cast<unsigned long long>(run.clock_readings), static_cast<unsigned long long>(run.sleeps));
    if (run.refused_requests != 0)
        text += printed("bus: %llu requests refused as asked for\n",
            static_cast<unsigned long long>(run.refused_requests));
}

} // namespace

std::string traffic(const emulation& run)
{
    std::string text;
    add_packets(text, run);
    add_tables(text, run);
    add_requests(text, run);
    return text;
}

std::string verdict_text(const std::vector<std::string>& faults)
{
    std::string text;
    for (const std::string& fault : faults)
        text += "FAULT: " + fault + "\n";
    return text + "\nThe run was " + (faults.empty() ? "sound" : "NOT sound") + ".\n";
}

std::string summary(const emulation& run, const daemon_end& end)
{
    std::string text;
    add_end(text, run, end);
    text += traffic(run);
    return text + verdict_text(faults_of(run, end));
}
