#include "shop_services.h"

#include "display_set.h"
#include "encoder.h"
#include "plain_conversion.h"
#include "services.h"

#include <cstdlib>

namespace {

void require(bool done)
{
    if (!done)
        std::abort();
}

prepared_shop load_shop(const std::string& folder)
{
    setenv("PREF_SYSTEM_NETWORK_HOSTNAME", "shop-tv-1", 1);
    prepared_shop state(new driver_state{.epld_version = 3, .multi_service_requested = true});
    load_services(*state, folder);
    return state;
}

/// Without regions of earlier articles, and converted plainly.
void encode_plainly(subtitle_stream& stream, subpicture& display_set)
{
    encoder* const opened = OpenEncoder();
    require(opened != nullptr && plain::YuvaYuvp(&display_set) != nullptr);
    stream.display_set = Encode(opened, &display_set);
    stream.refresh = EncodeRefreshDisplaySet(opened, &display_set);
    require(stream.display_set != nullptr && stream.refresh != nullptr);
    CloseEncoder(opened);
}

} // namespace

void shop_releaser::operator()(driver_state* prepared) const
{
    free_services(*prepared);
    delete prepared;
}

prepared_shop prepare_shop(const std::string& folder)
{
    auto state = load_shop(folder);
    require(prepare_services(*state, folder));
    return state;
}

prepared_shop prepare_shop_plainly(const std::string& folder)
{
    auto state = load_shop(folder);
    const item* article = state->articles;
    for (std::uint32_t i = 0; i < state->service_count; ++i, article = article->next) {
        const owned_subpicture display_set = draw_article(*article, state->layout, {.folder = folder});
        require(display_set != nullptr);
        encode_plainly(state->streams[i], *display_set);
    }
    return state;
}
