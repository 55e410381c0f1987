#include "judge.h"
#include "report.h"
#include "temporary.h"

#include <algorithm>
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
    const std::string record = (folder.path / "record").string();
    const std::string command = "ASAN_OPTIONS=detect_leaks=0 " EMULATOR " --bus-clock 100 --duration 5 "
        + options + " --summary '" + summary + "' --record '" + record + "' -- " MISBEHAVING_DAEMON " '"
        + fault + "' 2>/dev/null";
    const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): as a user calls it
    return {.status = WEXITSTATUS(status), .summary = read_file(summary) + read_file(record)};
}

const std::pair<const char*, const char*> faults_of_a_daemon[] = {
    {"no delete", "FAULT: insertion switched on without deleting the tables first"},
    {"ioctl", " unknown 1797 failed\n"}, // I2C_FUNCS, 0x0705
    {"ioctl", "FAULT: transfer that the register does not know"},
    {"not bound", "FAULT: transfer before the bus was bound"},
    {"closed input", "FAULT: bus opened as a standard stream"},
    {"open bus", "daemon: ended with status 0 "}, // it read what it had written
    {"open bus", "FAULT: the daemon left the bus open"},
    {"nothing", "s without PAT on PID 0"},
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
        EXPECT_THAT(summary(*run, end), Not(HasSubstr(found)));
        happens(*run, end);
        EXPECT_THAT(summary(*run, end), AllOf(HasSubstr(found), HasSubstr("NOT sound"))) << found;
    }
}

/// Tables of a device with one program on PID 256 and subtitles on PID 4368, which has been on for a minute.
struct inserting_run {
    inserting_run()
    {
        run->run_over = true;
        run->now_ns = 60'000'000'000;
        run->device.inserting_since_us = 0;
        run->device.memory = {0x91, 2, 0x00, 30, 0x91, 8, 0x00, 41, 0};
        constexpr std::array<std::uint8_t, 29> pat{0x47, 0x40, 0, 0x10, 0, //
            0x00, 0xB0, 17, 0, 0, 0xC3, 0, 0, 0, 0, 0xE0, 16, 0, 100, 0xE1, 0, 1, 2, 3, 4};
        constexpr std::array<std::uint8_t, 41> pmt{0x47, 0x41, 0, 0x10, 0, //
            0x02, 0xB0, 23, 0, 100, 0xE1, 0, 0, 0xF0, 1, 0xF0, 0,          //
            0x1B, 0xF0, 0x11, 0xF0, 0, 0x06, 0xF1, 0x10, 0xF0, 0, 1, 2, 3, 4};
        std::ranges::copy(pat, run->device.memory.begin() + 64);
        std::ranges::copy(pmt, run->device.memory.begin() + 256);
        for (const auto& [pid, id] :
            {std::pair{0, 0}, {16, 0x40}, {17, 0x42}, {18, 0x4E}, {256, 2}, {20, 0x70}, {20, 0x73}})
            statistics.tables[statistics.table_count++] = {.pid = static_cast<std::uint16_t>(pid),
                .table_id = static_cast<std::uint8_t>(id),
                .sections = 1,
                .last_us = 60'000'000};
        statistics.by_pid[4368] = {
            .display_sets = 2, .last_display_set_us = 60'000'000, .longest_display_gap_us = 15'000'000};
    }
    [[nodiscard]] std::string faults() const
    {
        std::string text;
        for (const std::string& fault : faults_of(*run, daemon_end{}))
            text += fault + ";";
        return text;
    }
    std::unique_ptr<emulation> run = std::make_unique<emulation>();
    stream_statistics& statistics = run->statistics;
};

TEST(Verdict, WantsEveryTableAndServiceAtItsRate)
{
    const inserting_run sound;
    EXPECT_EQ(sound.faults(), "");
    sound.statistics.by_pid[4368].packets = 1000; // 188 bytes each, in 60 s
    EXPECT_THAT(summary(*sound.run, {}), HasSubstr("\n 4368      1000    25.1 kbit/s  0\n"));
    for (std::size_t i = 0; i < sound.statistics.table_count; ++i) {
        const inserting_run missing;
        missing.statistics.tables[i].pid = 99;
        EXPECT_THAT(missing.faults(), HasSubstr("60.000 s without ")) << i;
        const inserting_run late;
        late.statistics.tables[i].longest_gap_us = 36'500'000; // a cycle of 15 s may come before a refresh
        EXPECT_THAT(late.faults(), HasSubstr("36.500 s without ")) << i;
    }
    const inserting_run in_time;
    in_time.statistics.tables[5].longest_gap_us = 35'500'000;
    EXPECT_EQ(in_time.faults(), "");
    const inserting_run silent;
    silent.run->device.memory[256 + 24] = 0x11; // the PMT announces PID 4369
    EXPECT_THAT(silent.faults(), testing::Not(HasSubstr("PID 4368")));
    silent.run->output_on_ethernet = true;
    silent.run->device.inserting_since_us = -1;
    EXPECT_EQ(silent.faults(), "");
}

TEST(Verdict, IsNotGivenWithoutARun)
{
    for (const char* option : {"--encoder", "--stream", "--resources"})
        EXPECT_EQ(verdict_on("nothing", std::string(option) + " /nonexistent/file").status, 2) << option;
}
