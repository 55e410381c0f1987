#include "page.h"

#include "finding_json.h"
#include "formatted.h"
#include "nit_sdt.h"
#include "page_files.h"
#include "pids.h"
#include "report.h"
#include "settings.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

namespace {

using nlohmann::ordered_json;

// Pictures

std::string base64(std::string_view bytes)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += at + i <= bytes.size() ? digits[group >> (18 - 6 * i) & 0x3F] : '=';
    }
    return text;
}

std::string picture_uri(const screen_picture& picture)
{
    return picture.pixels.empty() ? "" : "data:image/png;base64," + base64(png_of(picture));
}

std::string css_colour(const rgba_pixel& pixel)
{
    return formatted("#%02x%02x%02x%02x", pixel[0], pixel[1], pixel[2], pixel[3]);
}

ordered_json json_of(const background& ground)
{
    const bool is_plain =
        std::ranges::adjacent_find(ground.pixels, std::not_equal_to{}) == ground.pixels.end();
    return {{"colour", css_colour(ground.pixels.front())},
        {"picture", is_plain ? "" : picture_uri({.pixels = ground.pixels})}};
}

// Screens

ordered_json json_of(const screen_region& region)
{
    ordered_json palette = ordered_json::array();
    for (const palette_entry& colour : region.colours.palette)
        palette.push_back(css_colour(screen_colour(as_sent(colour))));
    return {{"name", region.name}, {"x", region.x}, {"y", region.y}, {"width", region.width},
        {"height", region.height}, {"colours", region.colours.colours_before}, {"palette", palette},
        {"tolerance", region.colours.tolerance}, {"carried_error", region.colours.largest_error}};
}

ordered_json json_of(const block* payload)
{
    return payload == nullptr ? ordered_json()
                              : ordered_json{{"bytes", payload->length}, {"packets", packets_of(*payload)}};
}

std::string text_or_empty(const char* text)
{
    return text == nullptr ? "" : text;
}

ordered_json json_of_service(const item& article, std::uint32_t index)
{
    const std::string_view name = name_setting("PREF_SYSTEM_ENCODER_1_SERVICE_NAME", 16);
    return {{"channel", static_cast<std::uint32_t>(article.channel) & 0x3FFU},
        {"name", article_service_name(name, article)},
        {"id", (u16_setting(service_id_setting) + index) & 0xFFFF}, {"pid", pids::first_subtitle + index}};
}

ordered_json json_of_screen(const page_content& content, const item& article, std::uint32_t index)
{
    const article_screen& screen = content.all.screens[index];
    const subtitle_stream& stream = content.state.streams[index];
    ordered_json regions = ordered_json::array();
    for (const screen_region& region : screen.regions)
        regions.push_back(json_of(region));
    return {{"number", index + 1}, {"code", text_or_empty(article.code)},
        {"brand", text_or_empty(article.brand)}, {"model", text_or_empty(article.model)},
        {"price", text_or_empty(article.price)}, {"service", json_of_service(article, index)},
        {"prepared", screen.prepared},
        {"picture", screen.prepared ? picture_uri(compose_screen(screen.page)) : ""},
        {"drawn", picture_uri(screen.drawn)}, {"regions", regions},
        {"display_set", json_of(screen.prepared ? stream.display_set : nullptr)},
        {"refresh", json_of(screen.prepared ? stream.refresh : nullptr)}};
}

bool is_wanted(const page_content& content, const std::string& code)
{
    return content.article.empty() || content.article == code;
}

ordered_json json_of_screens(const page_content& content)
{
    ordered_json screens = ordered_json::array();
    const item* article = content.state.articles;
    for (std::uint32_t i = 0; i < content.state.service_count; ++i, article = article->next)
        if (is_wanted(content, text_or_empty(article->code)))
            screens.push_back(json_of_screen(content, *article, i));
    return screens;
}

// What belongs to all screens

void put_findings(ordered_json& page, const page_content& content)
{
    page["findings"] = page["trouble"] = ordered_json::array();
    for (const finding& found : content.findings) {
        if (found.article.empty() || is_wanted(content, found.article))
            page["findings"].push_back(json_of(found));
        if (is_trouble(found))
            page["trouble"].push_back(json_of(found));
    }
}

ordered_json json_of(const layout_region& region)
{
    return {{"name", text_or_empty(region.name)}, {"x", region.x_pos}, {"y", region.y_pos},
        {"width", region.width}, {"height", region.height}, {"font", text_or_empty(region.font)},
        {"size", region.size}, {"foreground", formatted("%08X", region.foregroundColor)},
        {"background", formatted("%08X", region.backgroundColor)}, {"adjusted", region.adjustRegionSize},
        {"ratio", region.keepRatio}};
}

ordered_json json_of_layout(const layout_region* region)
{
    ordered_json regions = ordered_json::array();
    for (; region != nullptr; region = region->next)
        regions.push_back(json_of(*region));
    return regions;
}

/// A chain has more of them than anybody reads.
void put_dropped(ordered_json& page, const page_content& content)
{
    constexpr std::size_t listed_max = 200;
    const auto dropped = dropped_articles(content.files, content.host);
    page["dropped"] = ordered_json::array();
    for (std::size_t i = 0; i < std::min(dropped.size(), listed_max); ++i)
        page["dropped"].push_back({{"code", dropped[i].code}, {"reason", dropped[i].reason}});
    page["dropped_total"] = dropped.size();
}

ordered_json json_of_cycle(const page_content& content)
{
    if (!content.all.cost)
        return nullptr;
    const cycle_cost& cost = *content.all.cost;
    const cycle_load load = load_of(content.state, cost);
    const auto periods = static_cast<double>(cost.clock_periods);
    return {{"display_sets", load.display_sets}, {"refreshes", load.refreshes}, {"packets", load.packets},
        {"loads", load.loads}, {"slot_packets", cost.slot_packets}, {"requests", cost.requests},
        {"seconds_at_100_khz", periods / 100e3}, {"seconds_at_400_khz", periods / 400e3}};
}

void replace_first(std::string& text, std::string_view mark, std::string_view with)
{
    text.replace(text.find(mark), mark.size(), with);
}

/// JSON that does not end the element that it stands in: an escaped "<" is the same to its reader.
std::string without_tags(const std::string& json)
{
    std::string text;
    for (const char character : json)
        text.append(character == '<' ? "\\u003c" : std::string_view(&character, 1));
    return text;
}

} // namespace

std::string page_data(const page_content& content)
{
    ordered_json page{{"host", content.host}, {"folder", content.files.folder},
        {"background", json_of(content.ground)}, {"listed", content.files.listed.size()},
        {"dropped_over_forty", content.summary.dropped_over_forty}, {"screens", json_of_screens(content)}};
    put_findings(page, content);
    page["layout"] = json_of_layout(content.state.layout);
    put_dropped(page, content);
    page["cycle"] = json_of_cycle(content);
    return page.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string page_html(const std::string& data)
{
    std::string page(page_html_file);
    replace_first(page, R"(<link rel="stylesheet" href="page.css">)",
        "<style>\n" + std::string(page_css_file) + "</style>");
    replace_first(
        page, R"(<script src="page.js"></script>)", "<script>\n" + std::string(page_js_file) + "</script>");
    replace_first(page, R"(<script type="application/json" id="data"></script>)",
        R"(<script type="application/json" id="data">)" + without_tags(data) + "</script>");
    return page;
}
