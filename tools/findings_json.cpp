#include "findings_json.h"

#include "finding_json.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr int format_version = 1;

ordered_json json_of(const finding_place& place)
{
    return {{"line", place.line}, {"column", place.column}, {"article", place.article}, {"host", place.host},
        {"screen", place.screen}};
}

ordered_json json_of(const finding_group& group)
{
    ordered_json object = json_of(group.first);
    object["count"] = group.count;
    object["places"] = ordered_json::array();
    for (const finding_place& place : group.places)
        object["places"].push_back(json_of(place));
    return object;
}

ordered_json json_of(const check_summary& summary, const finding_groups& findings)
{
    return {{"hosts", summary.hosts}, {"articles", summary.articles},
        {"dropped_over_forty", summary.dropped_over_forty}, {"errors", findings.count.errors},
        {"warnings", findings.count.warnings}, {"notes", findings.count.notes},
        {"unlisted", findings.unlisted}};
}

ordered_json json_of(const std::vector<const finding_group*>& groups)
{
    ordered_json list = ordered_json::array();
    for (const finding_group* group : groups)
        list.push_back(json_of(*group));
    return list;
}

std::string text_of(const ordered_json& object, int indent)
{
    return object.dump(indent, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

severity severity_of(const std::string& name)
{
    return name == name_of(severity::error)  ? severity::error
        : name == name_of(severity::warning) ? severity::warning
                                             : severity::note;
}

finding_group group_of(const json& object)
{
    finding_group group{
        .first = {.level = severity_of(object["severity"]),
            .kind = object["kind"],
            .at = {.file = object["file"], .line = object["line"], .column = object["column"]},
            .article = object["article"],
            .host = object["host"],
            .screen = object["screen"],
            .region = object["region"],
            .what = object["what"],
            .advice = object["advice"],
            .same = object["same"]},
        .count = object["count"]};
    for (const json& place : object["places"])
        group.places.push_back({.line = place["line"],
            .column = place["column"],
            .article = place["article"],
            .host = place["host"],
            .screen = place["screen"]});
    return group;
}

} // namespace

std::string json_report(
    const check_summary& summary, const std::vector<shown_screen>& screens, const finding_groups& findings)
{
    ordered_json list = ordered_json::array();
    for (const shown_screen& screen : screens)
        list.push_back({{"number", screen.number}, {"article", screen.article}, {"host", screen.host},
            {"picture", screen.picture}});
    return text_of(
        {{"format", "tsinsert-preview"}, {"version", format_version}, {"summary", json_of(summary, findings)},
            {"screens", list}, {"findings", json_of(sorted_groups(findings))}},
        2);
}

std::string write_message(const check_summary& summary, const finding_groups& findings)
{
    return text_of(
        {{"summary", json_of(summary, findings)}, {"findings", json_of(sorted_groups(findings))}}, -1);
}

bool add_message(const std::string& message, check_summary& summary, finding_groups& findings)
{
    const json object = json::parse(message, nullptr, false);
    if (object.is_discarded())
        return false;
    const json& counts = object["summary"];
    summary.hosts += counts["hosts"].get<std::uint64_t>();
    summary.articles += counts["articles"].get<std::uint64_t>();
    summary.dropped_over_forty += counts["dropped_over_forty"].get<std::uint64_t>();
    finding_groups added{
        .count = {.errors = counts["errors"], .warnings = counts["warnings"], .notes = counts["notes"]},
        .unlisted = counts["unlisted"]};
    for (const json& group : object["findings"])
        add_group(added, group_of(group));
    merge_findings(findings, added);
    return true;
}
