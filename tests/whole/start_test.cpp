#include "emulated_run.h"

#include <gmock/gmock.h>

using testing::StartsWith;

namespace {

const std::string single_service = "No subtitle to play\nUse 2 slots of 8 packets \n";
const std::string multi_service_setting = "PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES";
const std::string output_setting = "PREF_SYSTEM_STREAMER_1_OUTPUT";

const struct {
    const char* what;
    run_request request;
    std::string end;
    std::string output;
    std::string errors; ///< their beginning
} starts[] = {
    {"new generation", {{"--duration", "1", "--generation", "3"}}, at_work,
        "Detect EPLD version 3\n" + single_service, ""},
    {"old generation, where several services cannot be had",
        {{"--duration", "1", "--generation", "2"}, {{multi_service_setting, "true"}}}, at_work,
        "Detect EPLD version 2\n" + single_service, ""},
    {"output on Ethernet", {{}, {{output_setting, "Ethernet"}}}, "daemon: ended with status 0", "", ""},
    {"output on something else", {{"--duration", "1"}, {{output_setting, "ethernet "}}}, at_work,
        "Detect EPLD version 3\n" + single_service, ""},
    {"no version file", {{"--generation", "none"}}, failed, "",
        "cannot get epld version: No such file or directory\n"},
};

} // namespace

TEST(Start, SaysWhatItFindsAndEndsAsItMust)
{
    for (const auto& [what, request, end, output, errors] : starts) {
        const run_result result = run_daemon_emulated(request);
        EXPECT_EQ(result.daemon_end, end) << what;
        EXPECT_EQ(result.output, output) << what;
        EXPECT_THAT(result.errors, StartsWith(errors)) << what;
        EXPECT_EQ(result.errors.empty(), errors.empty()) << what << result.errors;
        EXPECT_EQ(result.requests.empty(), end != at_work) << what;
        EXPECT_EQ(result.emulator_status, end == failed ? 1 : 0) << what << result.summary;
    }
}

TEST(Start, PrintsLineByLineIntoAPipe)
{
    const temporary_folder folder;
    const std::string pipe = (folder.path / "pipe").string();
    const std::string daemon = command_line({{"--clock", "real", "--duration", "1h"}});
    const std::string lines = output_of_command("(mkfifo " + pipe + "; " + daemon + " >" + pipe
        + " & timeout 20 head -n 3 " + pipe + "; kill -KILL $!)");
    EXPECT_EQ(lines, "Detect EPLD version 3\n" + single_service);
}
