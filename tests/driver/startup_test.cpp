#include "startup.h"

#include "capture.h"
#include "temporary.h"

#include <gtest/gtest.h>

namespace {

constexpr struct {
    const char* content;
    std::optional<std::uint32_t> version;
} version_files[] = {
    {"3\n", 3}, {" 2", 2}, {"4abc", 4}, {"-1", 0xFFFFFFFF}, {"abc", std::nullopt}, {"", std::nullopt}};

TEST(Startup, ReadsTheVersionAsADecimalNumber)
{
    const temporary_folder folder;
    for (const auto& [content, version] : version_files) {
        const std::string path = write_file(folder, "version", content);
        std::optional<std::uint32_t> read;
        const std::string errors = stderr_of([&] { read = read_epld_version(path.c_str()); });
        EXPECT_EQ(read, version) << content;
        EXPECT_EQ(errors, version ? "" : "cannot get epld version: no decimal number in " + path + "\n");
    }
    EXPECT_EQ(stderr_of([&] { EXPECT_FALSE(read_epld_version(folder.path.c_str())); }),
        "cannot get epld version: Is a directory\n");
}

constexpr struct {
    const char* name;
    const char* value;
    const char* version;
    bool audio_enabled = false;
    std::uint8_t audio_stream_type = 3;
    bool multi_service_requested = false;
} decisions[] = {
    {"PREF_SYSTEM_ENCODER_1_AUDIO_ENABLED", "true", "3", true},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_ENABLED", "TRUE", "3"},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_CODEC", "MPEG4 AAC-LC", "0", false, 15},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_CODEC", "MPEG4 AAC", "3"},
    {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true", "3", false, 3, true},
    {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true", "2"},
    {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "1", "3"},
};

TEST(Startup, DecidesBySettingsAndGeneration)
{
    const temporary_folder folder;
    for (const auto& expected : decisions) {
        const environment settings{{expected.name, expected.value}};
        const std::string path = write_file(folder, "version", expected.version);
        const std::string what = std::string(expected.name) + '=' + expected.value + ' ' + expected.version;
        std::optional<driver_state> state;
        EXPECT_EQ(stdout_of([&] { state = start_up(path.c_str()); }),
            std::string("Detect EPLD version ") + expected.version + "\n");
        ASSERT_TRUE(state) << what;
        EXPECT_EQ(state->audio_enabled, expected.audio_enabled) << what;
        EXPECT_EQ(state->audio_stream_type, expected.audio_stream_type) << what;
        EXPECT_EQ(state->multi_service_requested, expected.multi_service_requested) << what;
    }
}

} // namespace
