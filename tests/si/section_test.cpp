#include "section.h"

#include "nit_sdt.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

// What no run of the daemon shows; of all else the recorded runs are the judge.

TEST(Section, DropsWhatDoesNotFit)
{
    for (std::size_t room = 0; room < 56; ++room) { // a NIT has 56 bytes
        std::vector<std::uint8_t> bytes(room);      // on the heap: the sanitizer guards its end
        EXPECT_EQ(write_nit(bytes, {}, {}), room);
    }
}

/// The services behind the last article have numbers of their own, and the name alone.
TEST(Section, HasServicesWithoutArticles)
{
    const item article{.channel = 5};
    const service_list services{.first_service_id = 100, .count = 2, .articles = &article};
    std::array<std::uint8_t, 128> bytes{};
    const auto has = [&](std::int32_t length, std::initializer_list<std::uint8_t> part) {
        const std::uint8_t* const begin = bytes.data();
        return std::search(begin, begin + length, part.begin(), part.end()) != begin + length;
    };
    EXPECT_TRUE(has(write_nit(bytes, {.first_channel = 9}, services),
        {0x83, 8, 0, 100, 0x7C, 5, 0, 101, 0x7C, 9})); // logical channel descriptor
    EXPECT_TRUE(has(write_sdt(bytes, {.provider = "ab", .service = "name"}, services),
        {0x48, 8, 1, 1, 'a', 4, 'n', 'a', 'm', 'e'})); // service descriptor
}
