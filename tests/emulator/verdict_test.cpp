#include "judge.h"
#include "report.h"
#include "temporary.h"

#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <sys/wait.h>

using testing::HasSubstr;

namespace {

struct verdict {
    int status = -1;
    std::string summary;
};

verdict verdict_on(const std::string& fault, const std::string& options = "")
{
    const temporary_folder folder;
    const std::string summary = (folder.path / "sum mary").string();
    const std::string command = "ASAN_OPTIONS=detect_leaks=0 '" EMULATOR "' --bus-clock 100 --duration 5 "
        + options + " --summary '" + summary + "' -- '" MISBEHAVING_DAEMON "' '" + fault + "' 2>/dev/null";
    const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): as a user calls it
    return {.status = WEXITSTATUS(status), .summary = read_file(summary)};
}

const std::pair<const char*, const char*> faults_of_a_daemon[] = {
    {"no delete", "FAULT: insertion switched on without deleting the tables first"},
    {"ioctl", "FAULT: transfer that the register does not know"},
    {"not bound", "FAULT: transfer before the bus was bound"},
    {"open bus", "FAULT: the daemon left the bus open"},
};

const struct {
    const char* found;
    std::function<void(emulation&, daemon_end&)> happens;
} faults_of_a_run[] = {
    {"FAULT: stream slot 0 loaded before slot 1 was acknowledged (4)",
        [](emulation& run, daemon_end&) {
            report_violation(run.device, violation_kind::armed_too_early, 4);
        }},
    {"FAULT: damaged sections or PES packets on PID 4368, 1 of them",
        [](emulation& run, daemon_end&) { run.statistics.by_pid[4368].damaged_units = 1; }},
    {"FAULT: continuity counter broken on PID 4368, 2 times",
        [](emulation& run, daemon_end&) { run.statistics.by_pid[4368].counter_errors = 2; }},
    {"FAULT: an output file is incomplete", [](emulation& run, daemon_end&) { run.record.error = ENOSPC; }},
    {"daemon: ended with status 3", [](emulation&, daemon_end& end) { end.status = 3 << 8; }},
    {"daemon: ended by signal 6", [](emulation&, daemon_end& end) { end.status = SIGABRT; }},
};

} // namespace

TEST(Verdict, FindsWhatADaemonDoesWrong)
{
    for (const auto& [fault, found] : faults_of_a_daemon) {
        const auto [status, summary] = verdict_on(fault);
        EXPECT_EQ(status, 1) << fault << "\n" << summary;
        EXPECT_THAT(summary, AllOf(HasSubstr(found), HasSubstr("The run was NOT sound"))) << fault;
    }
}

TEST(Verdict, SaysWhatMakesARunUnsound)
{
    for (const auto& [found, happens] : faults_of_a_run) {
        const auto run = std::make_unique<emulation>();
        daemon_end end;
        EXPECT_TRUE(is_sound(*run, end));
        happens(*run, end);
        EXPECT_FALSE(is_sound(*run, end)) << found;
        EXPECT_THAT(summary(*run, end), AllOf(HasSubstr(found), HasSubstr("FAULT"))) << found;
    }
}

TEST(Verdict, IsSoundForADaemonThatDoesNothingWrong)
{
    const auto [status, summary] = verdict_on("nothing");
    EXPECT_EQ(status, 0) << summary;
    EXPECT_THAT(summary, AllOf(Not(HasSubstr("FAULT")), HasSubstr("The run was sound")));
    // 125 periods of 100 Hz: twice 29, 38 and 29
    EXPECT_THAT(summary, HasSubstr("2 write-byte, 1 write-word, 1 write-block, 1.250 s on the wire"));
}

TEST(Verdict, IsNotGivenWithoutARun)
{
    for (const char* option : {"--encoder", "--stream", "--resources"})
        EXPECT_EQ(verdict_on("nothing", std::string(option) + " /nonexistent/file").status, 2) << option;
}
