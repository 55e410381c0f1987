#include "services.h"

#include "articles.h"
#include "display_set.h"
#include "encoder.h"
#include "handles.h"
#include "settings.h"

#include <cstdio>

namespace {

constexpr const char* article_file = "/usr/playout/.medias/resources/infostv.xml";
constexpr const char* reference_file = "/usr/playout/.medias/resources/referencieltv.xml";
constexpr const char* layout_file = "/usr/playout/.medias/resources/layout.xml";

constexpr std::uint16_t first_subtitle_pid = 4368;

using owned_encoder = std::unique_ptr<encoder, releaser<CloseEncoder>>;

bool failed(const char* message)
{
    std::perror(message);
    return false;
}

} // namespace

void load_services(driver_state& state)
{
    if (state.multi_service_requested) {
        const auto host_name = text_setting("PREF_SYSTEM_NETWORK_HOSTNAME");
        state.articles = ParseXMLInfostv(article_file);
        state.service_count = static_cast<std::uint32_t>(
            PurgeDataBase(&state.articles, host_name ? host_name->data() : nullptr, services_max));
    }
    state.multi_service = state.service_count != 0 && state.articles != nullptr;
    if (!state.multi_service) {
        std::puts("No subtitle to play");
        return;
    }
    ParseXMLReferencieltv(reference_file, state.articles);
    std::printf("%u subtitle services to play\n", state.service_count);
    state.layout = ParseXMLLayout(layout_file);
}

bool encode_service(subtitle_stream& stream, subpicture* display_set)
{
    const owned_encoder opened(OpenEncoder());
    if (!opened)
        return failed("cannot open DVB subtitle encoder");
    stream.display_set = Encode(opened.get(), display_set);
    if (stream.display_set == nullptr)
        return failed("cannot build DVB subtitle PES");
    stream.refresh = EncodeRefreshDisplaySet(opened.get(), display_set);
    if (stream.refresh == nullptr)
        return failed("cannot build PES for DVB subtitle Refreshing");
    return true;
}

bool prepare_services(driver_state& state, std::string_view icon_directory)
{
    common_drawings common;
    const item* article = state.articles;
    for (std::uint32_t i = 0; i < state.service_count; ++i, article = article->next) {
        subtitle_stream& stream = state.streams[i];
        const owned_subpicture display_set = draw_article(*article, state.layout, icon_directory, &common);
        if (!display_set || !encode_service(stream, display_set.get()))
            return false;
        stream.pid = static_cast<std::uint16_t>(first_subtitle_pid + i);
        stream.continuity_counter = 0;
    }
    return true;
}
