#include "settings.h"

#include "temporary.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* name = "PREF_SYSTEM_TEST_SETTING";

constexpr struct {
    const char* value;
    std::int32_t number;
    std::uint16_t low_bits;
    bool is_true;
    const char* name; ///< of at most 4 bytes
} settings[] = {{"", 0, 0, false, ""}, {"-1", -1, 0xFFFF, false, "-1"}, {"70000", 70000, 4464, false, "7000"},
    {"true", 0, 0, true, "true"}, {"TRUE", 0, 0, false, "TRUE"}, {"true ", 0, 0, false, "true"}};

TEST(Settings, AreReadAsNumbersSwitchesAndNames)
{
    for (const auto& [value, number, low_bits, is_true, cut] : settings) {
        const environment set{{name, value}};
        EXPECT_EQ(number_setting(name), number) << value;
        EXPECT_EQ(u16_setting(name), low_bits) << value;
        EXPECT_EQ(setting_equals(name, "true"), is_true) << value;
        EXPECT_EQ(name_setting(name, 4), cut);
    }
    EXPECT_EQ(number_setting(name), 0) << "unset";
    EXPECT_FALSE(setting_equals(name, ""));
    EXPECT_EQ(name_setting(name, 3), " ");
}

} // namespace
