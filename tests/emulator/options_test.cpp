#include "options.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

launch_options parse(std::vector<std::string> words)
{
    words.insert(words.begin(), "epld-emulator");
    static std::vector<std::string> kept; // what the result points to
    kept = std::move(words);
    std::vector<char*> argv;
    argv.reserve(kept.size() + 1);
    for (std::string& word : kept)
        argv.push_back(word.data());
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    return parse_command_line(argc, argv.data());
}

} // namespace

TEST(Options, ReadTheCommandLine)
{
    const launch_options options = parse({"--generation", "2", "--start", "1970-01-02 00:00:01", "--duration",
        "10h", "--clock", "real", "--bus-clock", "0", "--packet-rate=500", "--fail", "open:1", "--fail",
        "any:9+", "--stuck-slot", "1", "--", "tsinsertd", "--help"});
    EXPECT_EQ(options.error, "");
    EXPECT_FALSE(options.help);
    EXPECT_EQ(options.generation, "2");
    EXPECT_EQ(options.start_s, 86'401);
    EXPECT_EQ(options.duration_s, 36'000);
    EXPECT_TRUE(options.real_time);
    EXPECT_EQ(options.bus_clock_hz, 0);
    EXPECT_EQ(options.packet_rate, 500);
    EXPECT_EQ(options.refusals.size(), 2U);
    EXPECT_EQ(options.stuck_slot, 1U);
    EXPECT_EQ(options.unacknowledged_slot, epld_model::none);
    ASSERT_EQ(options.command.size(), 2U);
    EXPECT_STREQ(options.command[0], "tsinsertd");
}

TEST(Options, SayWhatIsWrongWithTheCommandLine)
{
    const struct {
        std::vector<std::string> words;
        const char* error;
    } cases[] = {
        {{}, "which daemon?"},
        {{"--colour", "red", "tsinsertd"}, "unknown option"},
        {{"--duration"}, "without its value"},
        {{"--duration", "0", "tsinsertd"}, "--duration cannot be \"0\""},
        {{"--duration", "10x", "tsinsertd"}, "--duration cannot be \"10x\""},
        {{"--start", "tomorrow", "tsinsertd"}, "--start cannot be"},
        {{"--clock", "fast", "tsinsertd"}, "--clock cannot be"},
        {{"--packet-rate", "0", "tsinsertd"}, "--packet-rate cannot be"},
        {{"--fail", "write", "tsinsertd"}, "--fail cannot be"},
        {{"--stuck-slot", "2", "tsinsertd"}, "--stuck-slot cannot be"},
    };
    for (const auto& [words, error] : cases)
        EXPECT_THAT(parse(words).error, HasSubstr(error));
}

TEST(Options, HelpNamesEveryOption)
{
    EXPECT_TRUE(parse({"--help"}).help);
    for (const char* name : {"--generation", "--resources", "--start", "--duration", "--clock",
             "--packet-rate", "--bus-clock", "--stream", "--encoder", "--record", "--summary", "--fail",
             "--stuck-slot", "--no-acknowledge", "Exit status"})
        EXPECT_THAT(help_text(), HasSubstr(name));
}
