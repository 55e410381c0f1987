#include "item.h"

#include "text.h"

#include <gtest/gtest.h>

namespace {

TEST(Item, DeletesEveryTextAndNothingElse)
{
    item next;
    item article{.channel = 12, .next = &next};
    for (auto* text :
        {&article.code, &article.brand, &article.logo, &article.model, &article.price, &article.type,
            &article.size, &article.hdmi, &article.usb, &article.hd, &article.warranty, &article.ovu})
        *text = copy_text("text");
    item_Delete(&article); // a text left over is a leak, which ends the test program
    EXPECT_EQ(article.ovu, nullptr);
    EXPECT_EQ(article.channel, 12);
    EXPECT_EQ(article.next, &next);
    item_Delete(&article);
    item_Delete(nullptr);
}

} // namespace
