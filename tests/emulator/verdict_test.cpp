#include "temporary.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/wait.h>

using testing::HasSubstr;
using testing::Not;

namespace {

struct verdict {
    int status = -1;
    std::string summary;
};

verdict verdict_on(const std::string& fault, const std::string& options = "")
{
    const temporary_folder folder;
    const std::string summary = (folder.path / "sum mary").string();
    const std::string command = "ASAN_OPTIONS=detect_leaks=0 '" EMULATOR "' --bus-clock 0 --duration 5 "
        + options + " --summary '" + summary + "' -- '" MISBEHAVING_DAEMON "' '" + fault + "' 2>/dev/null";
    const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): as a user calls it
    return {.status = WEXITSTATUS(status), .summary = read_file(summary)};
}

constexpr struct {
    const char* fault;
    const char* found;
} faults[] = {
    {"no delete", "FAULT: insertion switched on without deleting the tables first"},
    {"no end byte", "FAULT: slot header that the device does not know (4)"},
    {"control bits", "FAULT: other bits of register 0 changed"},
    {"overlap", "FAULT: packets of a slot over those of another slot"},
    {"bad type", "FAULT: slot header that the device does not know (0)"},
    {"type 0x83 at a beginning", "FAULT: slot header that the device does not know (0)"},
    {"wrong length", "FAULT: damaged sections or PES packets on PID 4368, 1 of them"},
    {"counter", "FAULT: continuity counter broken on PID 4368, 1 times"},
    {"too early", "FAULT: stream slot 0 loaded before slot 1 was acknowledged"},
    {"two bytes of a word", "FAULT: write beyond packet memory (6144)"},
    {"ioctl", "FAULT: transfer that the register does not know"},
    {"not bound", "FAULT: transfer before the bus was bound"},
    {"open bus", "FAULT: the daemon left the bus open"},
    {"status", "daemon: ended with status 3"},
    {"signal", "daemon: ended by signal 6"},
};

TEST(Verdict, FindsWhatADaemonDoesWrong)
{
    for (const auto& [fault, found] : faults) {
        const auto [status, summary] = verdict_on(fault);
        EXPECT_EQ(status, 1) << fault << "\n" << summary;
        EXPECT_THAT(summary, HasSubstr(found)) << fault;
        EXPECT_THAT(summary, HasSubstr("FAULT")) << fault;
        EXPECT_THAT(summary, HasSubstr("The run was NOT sound")) << fault;
    }
}

TEST(Verdict, IsSoundForADaemonThatDoesNothingWrong)
{
    const auto [status, summary] = verdict_on("nothing");
    EXPECT_EQ(status, 0) << summary;
    EXPECT_THAT(summary, Not(HasSubstr("FAULT")));
    EXPECT_THAT(summary, HasSubstr("The run was sound"));
}

/// Seven single-byte writes and more, each of twenty-nine periods or so of 100 Hz.
TEST(Verdict, CountsTheTimeOnTheWire)
{
    EXPECT_THAT(verdict_on("control bits", "--bus-clock 100").summary,
        HasSubstr("bus: 1 open, 1 bind, 2 write-byte, 0.580 s on the wire"));
}

TEST(Verdict, IsNotGivenWithoutARun)
{
    EXPECT_EQ(verdict_on("nothing", "--encoder /nonexistent").status, 2);
    EXPECT_EQ(verdict_on("nothing", "--stream /nonexistent/stream").status, 2);
    EXPECT_EQ(verdict_on("nothing", "--resources /nonexistent").status, 2);
}

} // namespace
