#include "report.h"

#include "formatted.h"

#include <algorithm>
#include <span>

namespace {

constexpr const char* severity_names[] = {"note", "warning", "BROKEN"};

/// "12,345"
std::string grouped(std::uint64_t number)
{
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, ",");
    return text;
}

std::string counted(std::uint64_t number, const char* thing)
{
    return grouped(number) + " " + thing + (number == 1 ? "" : "s");
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

struct load_count {
    std::uint64_t packets = 0;
    std::uint64_t loads = 0;
};

void count_sendings(load_count& total, const block& payload, std::uint64_t times, std::uint32_t slot_packets)
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

std::string dropped_report(const shop& found)
{
    std::string text;
    for (const dropped_article& article : found.dropped)
        text += formatted("    %-12s %s\n",
            article.code.empty() ? "(no code)" : printable(article.code.c_str()).c_str(),
            printable(article.reason.c_str()).c_str());
    return text.empty() ? "" : "Articles that are not shown\n" + text + "\n";
}

std::string cycle_report(const driver_state& state, const cycle_cost& cost)
{
    const auto streams = std::span(state.streams).first(state.service_count);
    load_count total;
    for (const subtitle_stream& stream : streams) {
        count_sendings(total, *stream.display_set, 1, cost.slot_packets);
        count_sendings(total, *stream.refresh, streams.size() - 1, cost.slot_packets);
    }
    return "One full cycle\n    " + counted(streams.size(), "display set") + " and "
        + counted(streams.size() * (streams.size() - 1), "refresh display set") + ": "
        + counted(total.packets, "packet") + " in " + counted(total.loads, "load") + " of a stream slot\n    "
        + counted(cost.requests, "request") + " on the bus: " + seconds_at(cost.clock_periods, 100e3) + ", "
        + seconds_at(cost.clock_periods, 400e3) + "\n    Stream slots of "
        + counted(cost.slot_packets, "packet") + "; the device is taken to be ready at once.\n\n";
}

std::string findings_report(const finding_list& findings)
{
    std::string text;
    for (const finding& found : findings)
        text += std::string("    ") + severity_names[static_cast<std::size_t>(found.level)] + ": "
            + printable(found.text.c_str()) + "\n";
    return text;
}

std::string verdict(const finding_list& all)
{
    const auto broken = std::ranges::count(all, severity::broken, &finding::level);
    const auto warnings = std::ranges::count(all, severity::warning, &finding::level);
    const std::string warned =
        warnings == 0 ? "" : ", " + counted(static_cast<std::uint64_t>(warnings), "warning");
    if (broken == 0)
        return "All is well" + warned + ".\n";
    return counted(static_cast<std::uint64_t>(broken), "thing") + (broken == 1 ? " is" : " are") + " broken"
        + warned + ".\n";
}

std::string printable(const char* text)
{
    std::string shown = text == nullptr ? "-" : text;
    std::ranges::replace_if(
        shown, [](unsigned char character) { return character < 0x20 || character == 0x7F; }, ' ');
    return shown;
}
