#include "settings.h"

#include "temporary.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* name = "PREF_SYSTEM_TEST_SETTING";

constexpr struct {
    const char* value;
    std::int32_t number;
    std::uint16_t low_bits;
} numbers[] = {
    {"", 0, 0}, {"abc", 0, 0}, {"12abc", 12, 12}, {" \t+7", 7, 7}, {"- 7", 0, 0}, {"-1", -1, 0xFFFF},
    {"70000", 70000, 4464},
    {"99999999999999999999", -1, 0xFFFF}, // the nearest number of 64 bits, then its low bits
};

TEST(Settings, ReadNumbersAsTheCLibraryDoes)
{
    EXPECT_EQ(number_setting(name), 0) << "not set";
    for (const auto& [value, number, low_bits] : numbers) {
        const environment set{{name, value}};
        EXPECT_EQ(number_setting(name), number) << value;
        EXPECT_EQ(u16_setting(name), low_bits) << value;
    }
}

TEST(Settings, AreEqualOnlyToTheSameBytes)
{
    EXPECT_FALSE(setting_equals(name, "")) << "not set";
    for (const char* value : {"", "TRUE", "true ", " true", "tru"}) {
        const environment set{{name, value}};
        EXPECT_FALSE(setting_equals(name, "true")) << value;
    }
    const environment set{{name, "true"}};
    EXPECT_TRUE(setting_equals(name, "true"));
}

TEST(Settings, CutNamesToTheirMaximum)
{
    EXPECT_EQ(name_setting(name, 3), " ") << "not set";
    EXPECT_EQ(name_setting(name, 3, "none"), "none") << "not set";
    for (const auto& [value, cut] : {std::pair("", ""), {"ab", "ab"}, {"abc", "abc"}, {"abcd", "abc"}}) {
        const environment set{{name, value}};
        EXPECT_EQ(name_setting(name, 3), cut);
    }
}

} // namespace
