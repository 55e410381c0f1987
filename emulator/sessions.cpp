#include "sessions.h"

#include "report.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double second_ns = 1e9;
constexpr std::uint8_t command_register = 2;
constexpr std::uint8_t delete_tables_command = 7;

bool deletes_tables(const bus_transfer& transfer)
{
    return transfer.kind == request_kind::write_byte && transfer.register_number == command_register
        && transfer.bytes[0] == delete_tables_command;
}

/// The device goes on with its tables when a daemon has ended, but nobody brings the time any more: what
/// counts is how things stood at the last request.
session end_session(const session_log& log, emulation& run)
{
    const std::int64_t now_ns = std::exchange(run.now_ns, log.last_request_ns);
    session ended{.began_ns = run.counting_since_ns,
        .ended_ns = log.last_request_ns,
        .faults = faults_of(run, std::nullopt)};
    run.now_ns = now_ns;
    return ended;
}

/// The totals of the bus and the device's own state stay.
void count_anew(emulation& run)
{
    run.counting_since_ns = run.now_ns;
    run.device.inserting_since_us = -1;
    run.device.violation_count = 0;
    run.statistics.by_pid.fill({});
    run.statistics.tables.fill({});
    run.statistics.table_count = 0;
}

/// A fault of the whole run, such as an output that is incomplete, is found in each of its sessions.
void add_new(std::vector<std::string>& faults, const std::vector<std::string>& found)
{
    for (const std::string& fault : found)
        if (std::find(faults.begin(), faults.end(), fault) == faults.end())
            faults.push_back(fault);
}

std::string headline(const session& ended)
{
    return printed("tables programmed anew: before, from %.3f s to %.3f s, the run was %s\n",
        static_cast<double>(ended.began_ns) / second_ns, static_cast<double>(ended.ended_ns) / second_ns,
        ended.faults.empty() ? "sound" : "NOT sound");
}

} // namespace

void follow_sessions(session_log& log, emulation& run, const bus_transfer& transfer)
{
    if (deletes_tables(transfer) && run.device.inserting_since_us >= 0) {
        log.ended.push_back(end_session(log, run));
        count_anew(run);
    }
    log.last_request_ns = run.now_ns;
}

std::vector<std::string> faults_of(const emulation& run, const session_log& log)
{
    std::vector<std::string> faults;
    for (const session& ended : log.ended)
        add_new(faults, ended.faults);
    add_new(faults, faults_of(run, std::nullopt));
    return faults;
}

std::string summary(const emulation& run, const session_log& log)
{
    std::string text;
    for (const session& ended : log.ended)
        text += headline(ended);
    text += printed("device: on its bus for %.3f s\n", static_cast<double>(run.now_ns) / second_ns);
    return text + traffic(run) + verdict_text(faults_of(run, log));
}
