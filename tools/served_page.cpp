#include "served_page.h"

#include "finding_json.h"
#include "formatted.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::ordered_json;

ordered_json empty_page()
{
    return {{"host", ""}, {"folder", ""}, {"background", {{"colour", "#606060"}, {"picture", ""}}},
        {"listed", 0}, {"screens", ordered_json::array()}, {"findings", ordered_json::array()},
        {"trouble", ordered_json::array()}, {"layout", ordered_json::array()},
        {"dropped", ordered_json::array()}, {"dropped_total", 0}, {"cycle", nullptr}};
}

ordered_json trouble_of(const process_end& drawing)
{
    const std::string why = drawing.failure.empty() ? drawing.messages : drawing.failure;
    return json_of(finding{.level = severity::error,
        .kind = "no-preview",
        .what = "the screens cannot be drawn: " + why.substr(0, why.find_last_not_of('\n') + 1)});
}

/// The only screen of that code; null when there is none, or several, or it is empty.
const ordered_json* only_screen(const ordered_json& page, const ordered_json& code)
{
    const ordered_json* only = nullptr;
    for (const ordered_json& screen : page["screens"])
        if (screen["code"] == code) {
            if (only != nullptr || code.get_ref<const std::string&>().empty())
                return nullptr;
            only = &screen;
        }
    return only;
}

/// A screen that cannot be prepared keeps its last good picture.
void keep_pictures(ordered_json& page, const ordered_json& before)
{
    for (ordered_json& screen : page["screens"]) {
        const ordered_json* const same = only_screen(before, screen["code"]);
        if (screen["prepared"] == true || same == nullptr || only_screen(page, screen["code"]) == nullptr)
            continue;
        for (const char* part : {"picture", "drawn", "regions"})
            screen[part] = (*same)[part];
        screen["last_good"] = true;
    }
}

/// Whether a file cannot be read that could before.
bool has_new_trouble(const ordered_json& page, const ordered_json& before)
{
    const auto is_known = [&](const ordered_json& found) {
        return std::ranges::any_of(
            before["trouble"], [&](const ordered_json& known) { return known["file"] == found["file"]; });
    };
    return !std::ranges::all_of(page["trouble"], is_known);
}

ordered_json parsed(const std::string& text)
{
    return text.empty() ? empty_page() : ordered_json::parse(text, nullptr, false);
}

std::string text_of(const ordered_json& page)
{
    return page.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

/// What the page shows next, and the trouble that it has.
ordered_json next_page(served_page& page, const process_end& drawing)
{
    const ordered_json before = parsed(page.last_good);
    ordered_json drawn = parsed(drawing.output);
    const bool is_drawn = drawing.status >= 0 && !drawing.output.empty() && drawn.is_object();
    if (is_drawn && (page.last_good.empty() || !has_new_trouble(drawn, before))) {
        keep_pictures(drawn, before);
        if (drawn["trouble"].empty() || !drawn["screens"].empty())
            page.last_good = text_of(drawn);
        return drawn;
    }
    ordered_json shown = before;
    shown["trouble"] = is_drawn ? drawn["trouble"] : ordered_json::array({trouble_of(drawing)});
    shown["stale"] = !page.last_good.empty();
    return shown;
}

} // namespace

void take_drawing(served_page& page, const process_end& drawing)
{
    ordered_json shown = next_page(page, drawing);
    shown["live"] = true;
    shown["revision"] = ++page.revision;
    page.document = text_of(shown);
}

std::string line_about(const served_page& page)
{
    const ordered_json shown = parsed(page.document);
    if (!shown["trouble"].empty()) {
        const auto file = shown["trouble"][0]["file"].get<std::string>();
        return (file.empty() ? "" : file + " ") + shown["trouble"][0]["what"].get<std::string>();
    }
    const auto count = [&](const char* severity) {
        return std::ranges::count_if(
            shown["findings"], [&](const ordered_json& found) { return found["severity"] == severity; });
    };
    return formatted(
        "%zu screens, %td errors, %td warnings", shown["screens"].size(), count("error"), count("warning"));
}
