#include "coded_region.h"

#include "pages.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

struct wanted_region {
    unsigned picture = 0; ///< number of a picture: one of noise in 15 colours, or a large one
    bool top_field_only = false;
};

constexpr unsigned large = 99; ///< more than a display set holds

/// One display set after the other, encoded with what is known from those before.
const std::vector<wanted_region> display_sets[] = {
    {{1}, {1}, {2}},
    {{2}, {3}, {1}},
    {{large}, {4}},
    {{4}, {large}},
    {{1, true}, {2}},
    {{1}, {2, true}},
    {{2, true}, {1, true}},
};

page_owner draw(const std::vector<wanted_region>& wanted)
{
    page_owner page = new_page();
    for (const auto& [picture, top_field_only] : wanted) {
        const std::uint32_t size = picture == large ? 400 : 20 + picture % 2;
        subpicture_region& region = add_region(*page, size, size);
        region.picture->top_field_only = top_field_only ? 1 : 0;
        std::minstd_rand numbers(picture);
        for (std::size_t pixel = 0; pixel < std::size_t{size} * size; ++pixel)
            set_pixel(region, pixel, {static_cast<std::uint8_t>(16 * (numbers() % 15)), 128, 128, 255});
    }
    return page;
}

/// Null means to know nothing.
block_owner encode(const std::vector<wanted_region>& wanted, coded_regions* known)
{
    const page_owner page = draw(wanted);
    if (known != nullptr)
        find_coded_regions(*known, *page);
    return block_owner(Encode(encoder_owner(OpenEncoder()).get(), page.get()));
}

TEST(CodedRegions, ChangeNoByteOfADisplaySet)
{
    constexpr std::size_t pictures = 7; // with and without a bottom field
    for (const std::size_t room : {pictures, std::size_t{2}}) {
        coded_regions known;
        known.count = known.regions.size() - room; // others
        std::vector<block_owner> blocks;           // which the known regions lie in
        for (const auto& wanted : display_sets) {
            const block_owner alone = encode(wanted, nullptr);
            const block& data = *blocks.emplace_back(encode(wanted, &known));
            EXPECT_TRUE(std::ranges::equal(bytes_of(data), bytes_of(*alone))) << blocks.size();
        }
        EXPECT_EQ(known.count, known.regions.size());
    }
}

TEST(Digest, TellsContentsApart)
{
    std::vector<std::vector<std::uint8_t>> contents;
    for (std::size_t length = 0; length < 32; ++length)
        contents.emplace_back(length, std::uint8_t{0});
    for (std::size_t first = 0; first < 8 * 29; ++first) {
        for (std::size_t second = 0; second < first; ++second) {
            auto& content = contents.emplace_back(29, std::uint8_t{0});
            for (const std::size_t bit : {first, second})
                content[bit / 8] = static_cast<std::uint8_t>(content[bit / 8] | 1U << bit % 8);
        }
    }
    std::vector<decltype(digest::words)> digests;
    for (const auto& content : contents) {
        digest sum;
        add_bytes(sum, content);
        digests.push_back(sum.words);
    }
    std::ranges::sort(digests);
    EXPECT_EQ(std::ranges::adjacent_find(digests), digests.end());
}

} // namespace
