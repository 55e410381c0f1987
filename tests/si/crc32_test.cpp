#include "section.h"

#include <array>
#include <gtest/gtest.h>

namespace {

TEST(Crc32, HasThePublishedCheckValue)
{
    constexpr std::array<std::uint8_t, 9> digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(crc32(digits.data(), 9), 0x0376E6E7U);
    EXPECT_EQ(crc32(digits.data(), -1), 0xFFFFFFFFU) << "the initial register";
}

} // namespace
