#include "shop_services.h"

#include "articles.h"
#include "display_set.h"
#include "plain_encoder.h"
#include "plain_palette.h"
#include "resources.h"
#include "services.h"

#include <cstdlib>
#include <utility>

namespace {

void require(bool done)
{
    if (!done)
        std::abort();
}

template <typename Record> void release_list(Record* first, void (*release_members)(Record*))
{
    while (first != nullptr) {
        release_members(first);
        std::free(std::exchange(first, first->next));
    }
}

prepared_shop load_shop(const std::string& folder)
{
    prepared_shop state(new driver_state{.epld_version = 3, .multi_service = true});
    state->articles = ParseXMLInfostv((folder + "infostv.xml").c_str());
    state->service_count =
        static_cast<std::uint32_t>(PurgeDataBase(&state->articles, "shop-tv-1", services_max));
    ParseXMLReferencieltv((folder + "referencieltv.xml").c_str(), state->articles);
    for (item* article = state->articles; article != nullptr; article = article->next)
        article->logo = find_logo(article->brand, folder);
    state->layout = ParseXMLLayout((folder + "layout.xml").c_str());
    return state;
}

void encode_plainly(subtitle_stream& stream, subpicture& display_set)
{
    encoder* const opened = OpenEncoder();
    require(opened != nullptr && plain::YuvaYuvp(&display_set) != nullptr);
    stream.display_set = plain::Encode(opened, &display_set);
    stream.refresh = EncodeRefreshDisplaySet(opened, &display_set);
    require(stream.display_set != nullptr && stream.refresh != nullptr);
    CloseEncoder(opened);
}

} // namespace

void shop_releaser::operator()(driver_state* prepared) const
{
    for (const subtitle_stream& stream : prepared->streams) {
        std::free(stream.display_set);
        std::free(stream.refresh);
    }
    release_list(prepared->articles, item_Delete);
    release_list<layout_region>(prepared->layout, [](layout_region* region) {
        std::free(region->name);
        std::free(region->font);
    });
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
        const owned_subpicture display_set = draw_article(*article, state->layout, folder);
        require(display_set != nullptr);
        encode_plainly(state->streams[i], *display_set);
    }
    return state;
}
