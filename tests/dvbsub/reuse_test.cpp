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

/// Each display set is encoded with the regions of those before, which may be null.
block_owner encode(const std::vector<unsigned>& wanted, coded_regions* encoded)
{
    const page_owner page = new_page();
    for (const unsigned picture : wanted) {
        const std::uint32_t size = picture == large ? 400 : 20 + picture % 2;
        subpicture_region& region = add_region(*page, size, size);
        std::minstd_rand numbers(picture);
        for (std::size_t pixel = 0; pixel < std::size_t{size} * size; ++pixel)
            set_pixel(region, pixel, {static_cast<std::uint8_t>(16 * (numbers() % 15)), 128, 128, 255});
    }
    const encoder_owner state(OpenEncoder());
    state->encoded = encoded;
    return block_owner(Encode(state.get(), page.get()));
}

TEST(Reuse, ChangesNoByteOfADisplaySet)
{
    coded_regions encoded;
    for (const std::size_t room : {encoded.regions.size(), pictures + 1, std::size_t{2}}) {
        encoded = {};
        encoded.count = encoded.regions.size() - room; // others
        std::vector<block_owner> blocks;               // which the regions lie in
        for (const auto& wanted : display_sets) {
            const block_owner alone = encode(wanted, nullptr);
            const block& data = *blocks.emplace_back(encode(wanted, &encoded));
            EXPECT_TRUE(std::ranges::equal(bytes_of(data), bytes_of(*alone))) << blocks.size();
        }
        EXPECT_EQ(encoded.regions.size() - encoded.count, room > pictures ? room - pictures : 0U);
    }
}

/// Zeros of several shapes, and in pictures of 7 x 1 pixels every two bits.
TEST(Reuse, TellsPicturesApart)
{
    std::set<pixel_digest> digests;
    const auto expect_new = [&](std::uint32_t width, std::uint32_t height, std::size_t first,
                                std::size_t second) {
        const page_owner page = new_page();
        const picture& pixels = *add_region(*page, width, height).picture;
        std::fill_n(pixels.buffer, std::size_t{4} * width * height, std::uint8_t{0});
        for (const std::size_t bit : {first, second})
            pixels.buffer[bit / 8] = static_cast<std::uint8_t>(pixels.buffer[bit / 8] ^ 1U << bit % 8);
        EXPECT_TRUE(digests.insert(digest_of(pixels)).second) << width << "x" << height << first << second;
    };
    for (const auto& [width, height] : {std::pair{20U, 10U}, {10U, 20U}, {200U, 1U}, {7U, 1U}})
        expect_new(width, height, 0, 0);
    for (std::size_t second = 1; second < std::size_t{8} * 4 * 7; ++second)
        for (std::size_t first = 0; first < second; ++first)
            expect_new(7, 1, first, second);
}

} // namespace
