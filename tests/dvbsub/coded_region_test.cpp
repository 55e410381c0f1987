#include "reuse.h"

#include "pages.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

constexpr unsigned large = 99; ///< more than a display set holds

/// The pictures of one display set after the other: noise in 15 colours, by number.
const std::vector<unsigned> display_sets[] = {{1, 1, 2}, {2, 3, 1}, {large, 4}, {4, large}, {large, 3}};
constexpr std::size_t pictures = 5;

/// Each display set is encoded with what is known from those before, which may be null.
block_owner encode(const std::vector<unsigned>& wanted, coded_regions* known)
{
    const page_owner page = new_page();
    for (const unsigned picture : wanted) {
        const std::uint32_t size = picture == large ? 400 : 20 + picture % 2;
        subpicture_region& region = add_region(*page, size, size);
        if (known != nullptr)
            region.coded = coded_region_for(*known, {{picture, 0}});
        if (region.coded != nullptr && region.coded->complete)
            continue; // its pixels do not matter
        std::minstd_rand numbers(picture);
        for (std::size_t pixel = 0; pixel < std::size_t{size} * size; ++pixel)
            set_pixel(region, pixel, {static_cast<std::uint8_t>(16 * (numbers() % 15)), 128, 128, 255});
    }
    return block_owner(Encode(encoder_owner(OpenEncoder()).get(), page.get()));
}

TEST(CodedRegions, ChangeNoByteOfADisplaySet)
{
    for (const std::size_t room : {pictures + 1, std::size_t{2}}) {
        coded_regions known;
        known.count = known.regions.size() - room; // others
        std::vector<block_owner> blocks;           // which the known regions lie in
        for (const auto& wanted : display_sets) {
            const block_owner alone = encode(wanted, nullptr);
            const block& data = *blocks.emplace_back(encode(wanted, &known));
            EXPECT_TRUE(std::ranges::equal(bytes_of(data), bytes_of(*alone))) << blocks.size();
        }
        EXPECT_EQ(known.regions.size() - known.count, room > pictures ? 1U : 0U);
    }
}

/// Zeros of every length up to 31, and in 29 bytes every two bits.
TEST(Digest, TellsContentsApart)
{
    constexpr std::size_t length_bytes = 29;
    std::set<decltype(digest::words)> digests;
    const auto expect_new = [&](const std::vector<std::uint8_t>& content) {
        digest sum;
        add_bytes(sum, content);
        EXPECT_TRUE(digests.insert(sum.words).second);
    };
    for (std::size_t length = 0; length < 32; ++length)
        expect_new(std::vector<std::uint8_t>(length));
    for (std::size_t second = 1; second < 8 * length_bytes; ++second) {
        for (std::size_t first = 0; first < second; ++first) {
            std::vector<std::uint8_t> content(length_bytes);
            for (const std::size_t bit : {first, second})
                content[bit / 8] = static_cast<std::uint8_t>(content[bit / 8] | 1U << bit % 8);
            expect_new(content);
        }
    }
}

} // namespace
