#include "crc32.h"

#include <array>
#include <gtest/gtest.h>

namespace {

constexpr std::array<std::uint8_t, 9> digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

TEST(Crc32, HasThePublishedCheckValue)
{
    EXPECT_EQ(crc32(digits.data(), 9), 0x0376E6E7U);
}

TEST(Crc32, OfNothingIsTheInitialRegister)
{
    EXPECT_EQ(crc32(digits.data(), 0), 0xFFFFFFFFU);
    EXPECT_EQ(crc32(digits.data(), -1), 0xFFFFFFFFU);
}

} // namespace
