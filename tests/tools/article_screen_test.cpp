#include "article_screen.h"

#include <gtest/gtest.h>

// A packet carries 184 bytes, the first one 14 of them for the PES header.
TEST(ArticleScreen, CountsPackets)
{
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {{150, 1}, {170, 1}, {171, 2}, {2000, 11}};
    for (const auto& [length, packets] : cases)
        EXPECT_EQ(packets_of({.length = length}), packets) << length;
}
