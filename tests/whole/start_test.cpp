#include "emulated_run.h"
#include "ts_reader.h"

#include <gmock/gmock.h>
#include <map>

using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr const char* at_work = "daemon: at work when the run ended";
constexpr const char* failed = "daemon: ended with status 234";

struct start_case {
    const char* what;
    run_request request;
    std::string end;
    std::string output;
    std::string errors; ///< their beginning
    bool uses_bus;
};

const start_case starts[] = {
    {"new generation", {{"--duration", "1", "--generation", "3"}, {}}, at_work,
        "Detect EPLD version 3\nNo subtitle to play\nUse 2 slots of 8 packets \n", "", true},
    {"old generation, where several services cannot be had",
        {{"--duration", "1", "--generation", "2"}, {{"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"}}},
        at_work, "Detect EPLD version 2\nNo subtitle to play\nUse 2 slots of 8 packets \n", "", true},
    {"output on Ethernet", {{}, {{"PREF_SYSTEM_STREAMER_1_OUTPUT", "Ethernet"}}},
        "daemon: ended with status 0", "", "", false},
    {"output on something else", {{"--duration", "1"}, {{"PREF_SYSTEM_STREAMER_1_OUTPUT", "ethernet "}}},
        at_work, "Detect EPLD version 3\nNo subtitle to play\nUse 2 slots of 8 packets \n", "", true},
    {"no version file", {{"--generation", "none"}, {}}, failed, "",
        "cannot get epld version: No such file or directory\n", false},
    {"no number in the version file", {{"--generation", "new"}, {}}, failed, "", "", false},
};

} // namespace

TEST(Start, SaysWhatItFindsAndEndsAsItMust)
{
    for (const auto& [what, request, end, output, errors, uses_bus] : starts) {
        const run_result result = run_daemon_emulated(request);
        EXPECT_EQ(result.daemon_end, end) << what;
        EXPECT_EQ(result.output, output) << what;
        EXPECT_THAT(result.errors, StartsWith(errors)) << what;
        EXPECT_EQ(result.errors.empty(), end != failed) << what;
        EXPECT_EQ(!result.requests.empty(), uses_bus) << what;
        EXPECT_EQ(result.emulator_status, end == failed ? 1 : 0) << what << result.summary;
    }
}

TEST(Start, PrintsLineByLineIntoAPipe)
{
    const temporary_folder folder;
    const std::string pipe = (folder.path / "pipe").string();
    const std::string daemon = command_line({{"--clock", "real", "--duration", "1h"}, {}});
    const std::string lines = output_of_command(
        "(mkfifo " + pipe + "; " + daemon + " >" + pipe + " & head -n 3 " + pipe + "; kill -KILL $!)");
    EXPECT_EQ(lines, "Detect EPLD version 3\nNo subtitle to play\nUse 2 slots of 8 packets \n");
}

TEST(Start, StandsAnySetting)
{
    std::string all_bytes;
    for (int byte = 1; byte < 256; ++byte)
        all_bytes.push_back(static_cast<char>(byte));
    for (const std::string& value : {std::string(), std::string("12abc"), std::string("-1"),
             std::string("99999999999999999999"), std::string(5000, '9'), all_bytes}) {
        run_request request{{"--duration", "25"}, {}};
        for (const char* name : {"SERVICE_ID", "TS_ID", "NETWORK_ID", "NIT_VERSION", "NETWORK_NAME", "LCN",
                 "VISIBLE_SERVICE", "SERVICE_PROVIDER_NAME", "SERVICE_NAME", "VIDEO_FRAMERATE", "VIDEO_CODEC",
                 "AUDIO_ENABLED", "AUDIO_CODEC", "DVB_MULTI_SERVICES"})
            request.settings.emplace_back(std::string("PREF_SYSTEM_ENCODER_1_") + name, value);
        const run_result result = run_daemon_emulated(request);
        EXPECT_EQ(result.emulator_status, 0) << value << result.summary;
        EXPECT_THAT(result.errors, IsEmpty());
    }
}

TEST(Start, FillsTheDeviceFromTheSettings)
{
    const temporary_folder folder;
    const std::string stream = (folder.path / "stream.ts").string();
    for (const char* generation : {"2", "3"}) {
        const run_result result = run_daemon_emulated(
            {{"--duration", "6", "--generation", generation, "--start", "2025-11-18 14:05:08"},
                {{"PREF_SYSTEM_ENCODER_1_SERVICE_ID", "100"}}},
            stream);
        const ts_content content = read_stream(stream);
        EXPECT_THAT(content.complaints, IsEmpty()) << generation;
        EXPECT_THAT(content.counter_errors, IsEmpty()) << generation;

        std::map<int, byte_string> last;
        for (const ts_unit& section : content.sections)
            last[section.bytes[0]] = section.bytes;
        EXPECT_EQ(last[0x42],
            bytes_of("42 F0 18 00 00 D1 00 00 00 00 FF 00 64 FD 80 07 48 05 01 01 20 01 20 BB 83 E5 4D"));
        EXPECT_EQ(last[0x40],
            bytes_of(
                "40 F0 35 00 00 C1 00 00 F0 11 40 01 20 4A 0C 00 00 00 00 00 64 09 04 00 01 5A 00 F0 17 00 "
                "00 00 00 F0 11 5F 04 00 00 00 28 83 04 00 64 7C 00 41 03 00 64 01 6B 75 87 02"));
        EXPECT_EQ(last[0x70], bytes_of("70 70 05 EE 45 14 05 08"));
        EXPECT_EQ(last[0x02].size(), 21U);
        EXPECT_EQ(last[0x00].size(), 20U);
        EXPECT_EQ(last[0x4E].size(), 63U);
        EXPECT_EQ(result.emulator_status, 0) << result.summary;
    }
}
