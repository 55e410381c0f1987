#include "services.h"

#include "articles.h"
#include "display_set.h"
#include "encoder.h"
#include "pids.h"
#include "settings.h"

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

using owned_encoder = std::unique_ptr<encoder, releaser<CloseEncoder>>;

/// The zero-terminated path of a file; one that is cut names none that could be opened.
std::array<char, PATH_MAX> path_in(std::string_view folder, const char* name)
{
    std::array<char, PATH_MAX> path{};
    std::snprintf(path.data(), path.size(), "%.*s%s", static_cast<int>(folder.size()), folder.data(), name);
    return path;
}

bool failed(const char* message)
{
    std::perror(message);
    return false;
}

} // namespace

void load_services(driver_state& state, std::string_view folder)
{
    if (state.multi_service_requested) {
        const auto host_name = text_setting("PREF_SYSTEM_NETWORK_HOSTNAME");
        state.articles = ParseXMLInfostv(path_in(folder, "infostv.xml").data());
        state.service_count = static_cast<std::uint32_t>(
            PurgeDataBase(&state.articles, host_name ? host_name->data() : nullptr, services_max));
    }
    state.multi_service = state.service_count != 0 && state.articles != nullptr;
    if (!state.multi_service) {
        std::puts("No subtitle to play");
        return;
    }
    ParseXMLReferencieltv(path_in(folder, "referencieltv.xml").data(), state.articles);
    std::printf("%u subtitle services to play\n", state.service_count);
    state.layout = ParseXMLLayout(path_in(folder, "layout.xml").data());
}

bool encode_service(subtitle_stream& stream, subpicture* display_set, coded_regions& encoded)
{
    const owned_encoder opened(OpenEncoder());
    if (!opened)
        return failed("cannot open DVB subtitle encoder");
    opened->encoded = &encoded;
    stream.display_set = Encode(opened.get(), display_set);
    if (stream.display_set == nullptr)
        return failed("cannot build DVB subtitle PES");
    stream.refresh = EncodeRefreshDisplaySet(opened.get(), display_set);
    if (stream.refresh == nullptr)
        return failed("cannot build PES for DVB subtitle Refreshing");
    return true;
}

bool prepare_services(driver_state& state, std::string_view folder)
{
    image_cache images;
    coded_regions encoded;
    const item* article = state.articles;
    for (std::uint32_t i = 0; i < state.service_count; ++i, article = article->next) {
        subtitle_stream& stream = state.streams[i];
        const owned_subpicture display_set =
            draw_article(*article, state.layout, {.folder = folder, .cache = &images});
        if (!display_set || !encode_service(stream, display_set.get(), encoded))
            return false;
        stream.pid = static_cast<std::uint16_t>(pids::first_subtitle + i);
        stream.continuity_counter = 0;
    }
    return true;
}

void free_services(driver_state& state)
{
    for (subtitle_stream& stream : state.streams) {
        std::free(stream.display_set);
        std::free(stream.refresh);
        stream = {};
    }
    free_articles(std::exchange(state.articles, nullptr));
    free_layout(std::exchange(state.layout, nullptr));
}
