#include "report.h"

#include "formatted.h"

#include <algorithm>
#include <span>

namespace {

constexpr std::size_t report_width = 100;
constexpr std::size_t articles_named = 5;
constexpr std::size_t dropped_shown = 20;

/// "12,345"
std::string grouped(std::uint64_t number)
{
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, ",");
    return text;
}

/// The text in lines of at most the report's width; those after the first begin with the indentation.
std::string wrapped(const std::string& text, std::size_t indentation)
{
    std::string lines;
    std::size_t column = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end =
            std::min(text.find(' ', at + 1), text.size()); // with the blank before the word
        const auto width = static_cast<std::size_t>(std::count_if(
            text.begin() + static_cast<std::ptrdiff_t>(at), text.begin() + static_cast<std::ptrdiff_t>(end),
            [](char character) { return (static_cast<unsigned char>(character) & 0xC0U) != 0x80; }));
        if (column + width > report_width && column > indentation) {
            lines.append("\n").append(indentation, ' ');
            column = indentation - 1;
            ++at;
        }
        lines.append(text, at, end - at);
        column += width;
        at = end;
    }
    return lines + "\n";
}

/// "12:5:", as far as it is known.
std::string position_text(const source_position& at)
{
    if (at.file.empty())
        return "";
    return at.line == 0 ? at.file + ": " : formatted("%s:%u:%u: ", at.file.c_str(), at.line, at.column);
}

std::string place_text(const finding_place& place, bool with_host)
{
    const std::string article = place.article.empty() ? "without a code" : place.article;
    return with_host && !place.host.empty() ? article + " on " + place.host : article;
}

/// "article TV1, screen 1, region model", or how many articles and which.
std::string subject_text(const finding_group& group)
{
    const finding& first = group.first;
    std::string text;
    if (group.count > 1) {
        text = counted(group.count, "time") + ": ";
        for (std::size_t i = 0; i < std::min(group.places.size(), articles_named); ++i)
            text += (i == 0 ? "" : ", ") + place_text(group.places[i], group.is_of_hosts);
        if (group.count > articles_named)
            text += ", …";
    } else if (!first.article.empty() || first.screen != 0)
        text = "article " + place_text(group.places.front(), false);
    if (!group.is_of_hosts && !first.host.empty())
        text += (text.empty() ? "host " : ", host ") + first.host;
    if (group.count == 1 && first.screen != 0)
        text += formatted(", screen %u", first.screen);
    if (!first.region.empty())
        text += (text.empty() ? "region " : ", region ") + first.region;
    return text;
}

std::string group_report(const finding_group& group)
{
    const finding& found = group.first;
    std::string text = position_text(found.at)
        + wrapped(std::string(name_of(found.level)) + ": " + printable(found.what.c_str()), 4);
    if (!found.advice.empty())
        text += wrapped("    -> " + printable(found.advice.c_str()), 7);
    if (const std::string subject = subject_text(group); !subject.empty())
        text += wrapped("    (" + printable(subject.c_str()) + ")", 5);
    return text;
}

std::string region_line(const screen_region& region)
{
    const plain::colour_reduction& colours = region.colours;
    return formatted("    %-9s %4u,%-4u %5ux%-5u %9s > %-2zu %9d %14s\n", region.name.c_str(), region.x,
        region.y, region.width, region.height, grouped(colours.colours_before).c_str(),
        colours.palette.size(), colours.tolerance,
        grouped(static_cast<std::uint64_t>(colours.largest_error)).c_str());
}

std::string bytes_and_packets(const char* what, const block& payload)
{
    return std::string(what) + " " + counted(payload.length, "byte") + " in "
        + counted(packets_of(payload), "packet");
}

std::string seconds_at(std::uint64_t clock_periods, double clock_hz)
{
    return formatted("%.2f s at %.0f kHz", static_cast<double>(clock_periods) / clock_hz, clock_hz / 1000);
}

void count_sendings(cycle_load& total, const block& payload, std::uint64_t times, std::uint32_t slot_packets)
{
    const std::uint64_t packets = packets_of(payload);
    total.packets += times * packets;
    total.loads += times * ((packets + slot_packets - 1) / slot_packets);
}

} // namespace

std::string screen_heading(std::uint32_t number, const item& article, const std::string& picture)
{
    return formatted("Screen %u  %s  %s %s\n", number, printable(article.code).c_str(),
               printable(article.brand).c_str(), printable(article.model).c_str())
        + (picture.empty() ? "" : "    " + picture + "\n");
}

std::string screen_report(const article_screen& screen, const subtitle_stream& stream)
{
    std::string text;
    if (!screen.regions.empty())
        text += "    region       at        size           colours  tolerance  carried error\n";
    for (const screen_region& region : screen.regions)
        text += region_line(region);
    if (screen.prepared)
        text += "    " + bytes_and_packets("display set", *stream.display_set) + ", "
            + bytes_and_packets("refresh", *stream.refresh) + "\n";
    return text;
}

std::string dropped_report(const std::vector<dropped_article>& dropped)
{
    std::string text;
    for (std::size_t i = 0; i < std::min(dropped.size(), dropped_shown); ++i)
        text += formatted("    %-12s %s\n",
            dropped[i].code.empty() ? "(no code)" : printable(dropped[i].code.c_str()).c_str(),
            printable(dropped[i].reason.c_str()).c_str());
    if (dropped.size() > dropped_shown)
        text += "    and " + counted(dropped.size() - dropped_shown, "other") + "\n";
    return text.empty() ? "" : "Articles that are not shown\n" + text + "\n";
}

cycle_load load_of(const driver_state& state, const cycle_cost& cost)
{
    const auto streams = std::span(state.streams).first(state.service_count);
    cycle_load total{.display_sets = streams.size(), .refreshes = streams.size() * (streams.size() - 1)};
    for (const subtitle_stream& stream : streams) {
        count_sendings(total, *stream.display_set, 1, cost.slot_packets);
        count_sendings(total, *stream.refresh, streams.size() - 1, cost.slot_packets);
    }
    return total;
}

std::string cycle_report(const driver_state& state, const cycle_cost& cost)
{
    const cycle_load total = load_of(state, cost);
    return "One full cycle\n    " + counted(total.display_sets, "display set") + " and "
        + counted(total.refreshes, "refresh display set") + ": " + counted(total.packets, "packet") + " in "
        + counted(total.loads, "load") + " of a stream slot\n    " + counted(cost.requests, "request")
        + " on the bus: " + seconds_at(cost.clock_periods, 100e3) + ", "
        + seconds_at(cost.clock_periods, 400e3) + "\n    Stream slots of "
        + counted(cost.slot_packets, "packet") + "; the device is taken to be ready at once.\n\n";
}

std::string findings_report(const finding_groups& findings)
{
    std::string text;
    for (const finding_group* group : sorted_groups(findings))
        text += group_report(*group) + "\n";
    if (findings.unlisted != 0)
        text += "and " + counted(findings.unlisted, "more finding") + ", not listed\n\n";
    return text.empty() ? "" : "Findings\n\n" + text;
}

std::string counted(std::uint64_t number, const char* thing)
{
    return grouped(number) + " " + thing + (number == 1 ? "" : "s");
}

std::string verdict(const finding_groups& findings)
{
    const auto& [errors, warnings, notes] = findings.count;
    const std::string noted = notes == 0 ? "" : ", " + counted(notes, "note");
    if (errors == 0 && warnings == 0)
        return "All is well" + noted + ".\n";
    return counted(errors, "error") + ", " + counted(warnings, "warning") + noted + ".\n";
}

std::string printable(const char* text)
{
    std::string shown = text == nullptr ? "-" : text;
    std::ranges::replace_if(
        shown, [](unsigned char character) { return character < 0x20 || character == 0x7F; }, ' ');
    return shown;
}
