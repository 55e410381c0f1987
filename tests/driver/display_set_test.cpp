#include "display_set.h"

#include "capture.h"

#include <gmock/gmock.h>
#include <string>

namespace {

using testing::HasSubstr;

std::string repeated(const std::string& text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

TEST(DisplaySet, CutsATextAtACharacterWithin256Bytes)
{
    const std::string euro = "\xE2\x82\xAC";
    const struct {
        const char* what;
        std::string text;
        std::size_t length;
    } cases[] = {
        {"empty", "", 0},
        {"exactly 256 bytes", std::string(256, 'a'), 256},
        {"longer", std::string(300, 'a'), 256},
        {"cut behind the first byte of a character", std::string(255, 'a') + euro + "b", 255},
        {"cut before its last byte", std::string(254, 'a') + euro + "b", 254},
        {"a character ends at the cut", std::string(253, 'a') + euro + "b", 256},
        {"four bytes, cut before the last", std::string(253, 'a') + "\xF0\x9F\x93\xBA" + "b", 253},
        {"characters without end", repeated("\x82", 300), 256},
    };
    for (const auto& [what, text, length] : cases) {
        text_style style{};
        style.text.fill('x');
        set_text(style, text);
        EXPECT_EQ(std::string(style.text.data()), text.substr(0, length)) << what;
    }
}

/// An article with every text, and a layout with a region for each, 10 pixels wide and as many high as
/// the number says.
struct shop {
    std::string model = "M";
    std::string price = "P";
    std::string brand = "B";
    std::string warranty = "W";
    std::string font = "Arial";
    item article{
        .brand = brand.data(), .model = model.data(), .price = price.data(), .warranty = warranty.data()};
    std::array<std::string, 4> names{"warranty", "brand", "price", "model"};
    std::array<layout_region, 4> regions{};

    shop()
    {
        for (std::size_t i = 0; i < regions.size(); ++i) {
            regions[i] = {.name = names[i].data(),
                .width = 10,
                .height = static_cast<std::int32_t>(i + 1),
                .x_pos = 5,
                .size = 10,
                .font = font.data(),
                .next = i + 1 < regions.size() ? &regions[i + 1] : nullptr};
        }
    }

    /// Heights of the regions that are drawn, in their order.
    std::vector<std::uint32_t> heights()
    {
        owned_subpicture drawn;
        stderr_of([&] { drawn = draw_article(article, &regions[0]); });
        std::vector<std::uint32_t> found;
        for (const subpicture_region* region = drawn ? drawn->regions : nullptr; region != nullptr;
             region = region->next)
            found.push_back(region->height);
        return found;
    }
};

TEST(DisplaySet, DrawsTheElementsInTheirOrder)
{
    EXPECT_THAT(shop().heights(), testing::ElementsAre(4, 3, 2, 550, 1));
    shop without_texts;
    without_texts.article = {};
    EXPECT_THAT(without_texts.heights(), testing::ElementsAre(550));
    shop without_model_region;
    without_model_region.names[3] = "other";
    without_model_region.regions[3].name = without_model_region.names[3].data();
    EXPECT_THAT(without_model_region.heights(), testing::ElementsAre(3, 2, 550, 1));
}

TEST(DisplaySet, PutsTheBannerIntoItsBox)
{
    const owned_subpicture drawn = draw_article({}, nullptr);
    ASSERT_NE(drawn, nullptr);
    const subpicture_region& banner = *drawn->regions;
    EXPECT_THAT((std::array{banner.x, banner.y, banner.width, banner.height}),
        testing::ElementsAre(603, 14, 88, 550));
    EXPECT_EQ(drawn->page_id, 1);
    EXPECT_EQ(drawn->width, 720U);
    EXPECT_EQ(drawn->height, 576U);
}

TEST(DisplaySet, FailsWhenAnElementCannotBeDrawn)
{
    shop far_off;
    far_off.regions[3].x_pos = 721;
    EXPECT_THAT(stderr_of([&] { EXPECT_EQ(draw_article(far_off.article, &far_off.regions[0]), nullptr); }),
        HasSubstr("Error: Region out of display\ncannot add subtitle: "));

    shop bad_logo;
    std::string path = "/nonexistent.png";
    bad_logo.article.logo = path.data();
    EXPECT_THAT(stderr_of([&] { EXPECT_EQ(draw_article(bad_logo.article, &bad_logo.regions[0]), nullptr); }),
        HasSubstr("Error: Cannot render image /nonexistent.png: file not found\ncannot add image: "));
}

} // namespace
