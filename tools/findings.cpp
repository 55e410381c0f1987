#include "findings.h"

#include <algorithm>

namespace {

finding_groups::key key_of(const finding& found)
{
    const bool is_one_place = found.article.empty() && found.screen == 0;
    return {-static_cast<int>(found.level), found.at.file, found.kind, found.region,
        found.same.empty() ? found.what + "\n" + found.advice : found.same, is_one_place ? found.at.line : 0,
        is_one_place ? found.at.column : 0};
}

void count_finding(finding_count& count, severity level, std::uint64_t times)
{
    if (level == severity::error)
        count.errors += times;
    else if (level == severity::warning)
        count.warnings += times;
    else
        count.notes += times;
}

/// The group that the finding belongs to; null when there is no room for another one.
finding_group* group_of(finding_groups& all, const finding& added)
{
    auto key = key_of(added);
    const auto found = all.groups.find(key);
    if (found != all.groups.end())
        return &found->second;
    if (all.kinds[added.kind] >= finding_groups_max)
        return nullptr;
    ++all.kinds[added.kind];
    return &all.groups.emplace(std::move(key), finding_group{.first = added}).first->second;
}

void add_place(finding_group& group, finding_place place)
{
    group.is_of_hosts = group.is_of_hosts || place.host != group.first.host;
    if (group.places.size() < finding_places_max)
        group.places.push_back(std::move(place));
}

auto order_of(const finding_group& group)
{
    const source_position& at = group.first.at;
    return std::tuple(-static_cast<int>(group.first.level), at.file, at.line, at.column);
}

} // namespace

void add_finding(finding_groups& all, const finding& added)
{
    count_finding(all.count, added.level, 1);
    finding_group* const group = group_of(all, added);
    if (group == nullptr) {
        ++all.unlisted;
        return;
    }
    ++group->count;
    add_place(*group,
        {.line = added.at.line,
            .column = added.at.column,
            .article = added.article,
            .host = added.host,
            .screen = added.screen});
}

void add_findings(finding_groups& all, const finding_list& added)
{
    for (const finding& found : added)
        add_finding(all, found);
}

void add_group(finding_groups& all, const finding_group& added)
{
    finding_group* const group = group_of(all, added.first);
    if (group == nullptr) {
        all.unlisted += added.count;
        return;
    }
    group->count += added.count;
    for (const finding_place& place : added.places)
        add_place(*group, place);
}

void merge_findings(finding_groups& all, const finding_groups& added)
{
    all.unlisted += added.unlisted;
    all.count.errors += added.count.errors;
    all.count.warnings += added.count.warnings;
    all.count.notes += added.count.notes;
    for (const auto& [key, group] : added.groups)
        add_group(all, group);
}

std::vector<const finding_group*> sorted_groups(const finding_groups& all)
{
    std::vector<const finding_group*> sorted;
    for (const auto& [key, group] : all.groups)
        sorted.push_back(&group);
    std::ranges::stable_sort(sorted, {}, [](const finding_group* group) { return order_of(*group); });
    return sorted;
}
