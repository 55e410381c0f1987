#include "display_set.h"

#include "capture.h"

#include <gmock/gmock.h>
#include <vector>

namespace {

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

    const owned_subpicture drawn = draw_article(article, &layout, {});
    ASSERT_NE(drawn, nullptr);
    std::vector<std::uint32_t> heights;
    for (const subpicture_region* region = drawn->regions; region != nullptr; region = region->next)
        heights.push_back(region->height);
    EXPECT_THAT(heights, testing::ElementsAre(3, 1, 550)) << "model, price and banner";

    last.x_pos = 721;
    EXPECT_THAT(stderr_of([&] { EXPECT_EQ(draw_article(article, &layout, {}), nullptr); }),
        testing::HasSubstr("Error: Region out of display\ncannot add subtitle: "));
}

} // namespace
