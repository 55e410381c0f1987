#pragma once

#include "emulation.h"

#include <string>
#include <vector>

/// On a bus of the kernel the device stays while daemons come and go. Each begins by deleting the tables;
/// from there to the next deletion is a session, with statistics and a judgement of its own: what a
/// restarted daemon begins anew is no fault.

struct session {
    std::int64_t began_ns = 0;
    std::int64_t ended_ns = 0; ///< its last request
    std::vector<std::string> faults;
};

struct session_log {
    std::int64_t last_request_ns = 0;
    std::vector<session> ended;
};

/// Before a transfer is put to the device: ends the session when the transfer deletes the tables and
/// insertion has been on in it.
void follow_sessions(session_log& log, emulation& run, const bus_transfer& transfer);

/// What is wrong with the session that lasts, and with those before it, each fault once; none when all
/// are sound. The daemon of the last one has to be at work still.
std::vector<std::string> faults_of(const emulation& run, const session_log& log);

/// The summary for people to read: each session that has ended in a line, the traffic of the last one in
/// tables, and the faults.
std::string summary(const emulation& run, const session_log& log);
