#include "text.h"

#include <gtest/gtest.h>

namespace {

constexpr std::pair<std::string_view, std::optional<std::int32_t>> numbers[] = {{"0", 0}, {"12px", 12},
    {" \t\r\n\v\f-7", -7}, {"+007", 7}, {"-2147483648", -2147483647 - 1}, {"4294967297", 1},
    {"9223372036854775808", -1}, {"92233720368547758079999999999999999", -1}, {"-92233720368547758000", 0},
    {std::string_view("123456").substr(0, 3), 123}, {"", {}}, {" ", {}}, {"+-1", {}}, {"- 1", {}},
    {"px12", {}}};

TEST(Decimal, IsReadAsTheCLibraryDoes)
{
    for (const auto& [text, value] : numbers)
        EXPECT_EQ(parse_decimal(text), value) << text;
}

} // namespace
