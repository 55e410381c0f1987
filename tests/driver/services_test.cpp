#include "shop_services.h"
#include "shops.h"
#include "temporary.h"

#include <gmock/gmock.h>
#include <span>
#include <vector>

namespace {

const struct {
    const char* what;
    shop_kind kind;
    int articles;
} shops[] = {
    {"everything but the icons differs", shop_kind::different, 12},
    {"articles have brands, features and texts in common", shop_kind::shared, 24},
};

using blocks = std::vector<std::vector<std::uint8_t>>;

/// Of every service, the display set and the refresh.
blocks blocks_of(const prepared_shop& shop)
{
    blocks all;
    for (const subtitle_stream& stream : std::span(shop->streams).first(shop->service_count)) {
        for (const block* data : {stream.display_set, stream.refresh})
            all.emplace_back(data->buffer, data->buffer + data->length);
    }
    return all;
}

TEST(Services, AreThoseOfEveryArticleDrawnAndEncodedForItself)
{
    for (const auto& [what, kind, articles] : shops) {
        const temporary_folder folder;
        const std::string path = folder.path.string() + "/";
        write_shop(path, kind, articles);
        const blocks prepared = blocks_of(prepare_shop(path));
        EXPECT_EQ(prepared.size(), 2U * static_cast<std::size_t>(articles)) << what;
        EXPECT_EQ(prepared, blocks_of(prepare_shop_plainly(path))) << what;
    }
}

} // namespace
