#include "display_set.h"

#include "capture.h"

#include <gmock/gmock.h>
#include <string>

namespace {

const std::string euro = "\xE2\x82\xAC";

const struct {
    const char* what;
    std::string text;
    std::size_t length;
} texts[] = {
    {"exactly 256 bytes", std::string(256, 'a'), 256},
    {"longer", std::string(300, 'a'), 256},
    {"cut behind the first byte of a character", std::string(255, 'a') + euro, 255},
    {"cut before its last byte", std::string(254, 'a') + euro, 254},
    {"a character ends at the cut", std::string(253, 'a') + euro + "b", 256},
    {"four bytes, cut before the last", std::string(253, 'a') + "\xF0\x9F\x93\xBA", 253},
    {"characters without end", std::string(300, '\x82'), 256},
};

TEST(DisplaySet, CutsATextAtACharacterWithin256Bytes)
{
    for (const auto& [what, text, length] : texts) {
        text_style style{};
        style.text.fill('x');
        set_text(style, text);
        EXPECT_EQ(std::string(style.text.data()), text.substr(0, length)) << what;
    }
}

TEST(DisplaySet, DrawsWhatTheArticleAndTheLayoutHave)
{
    char text[] = "T";
    char price[] = "price";
    char brand[] = "brand";
    char model[] = "model";
    layout_region last{.name = model, .width = 10, .height = 3};
    layout_region second{.name = brand, .width = 10, .height = 2, .next = &last};
    const layout_region layout{.name = price, .width = 10, .height = 1, .next = &second};
    const item article{.model = text, .price = text, .warranty = text};

    const owned_subpicture drawn = draw_article(article, &layout);
    ASSERT_NE(drawn, nullptr);
    std::vector<std::uint32_t> heights;
    for (const subpicture_region* region = drawn->regions; region != nullptr; region = region->next)
        heights.push_back(region->height);
    EXPECT_THAT(heights, testing::ElementsAre(3, 1, 550)) << "model, price and banner";

    last.x_pos = 721;
    EXPECT_THAT(stderr_of([&] { EXPECT_EQ(draw_article(article, &layout), nullptr); }),
        testing::HasSubstr("Error: Region out of display\ncannot add subtitle: "));
}

} // namespace
