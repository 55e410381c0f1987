#include "article_screen.h"

#include "article_check.h"
#include "display_set.h"
#include "formatted.h"
#include "registers.h"
#include "services.h"
#include "ts_packet.h"

#include <algorithm>

namespace {

constexpr std::uint32_t display_set_capacity = 64000;
constexpr std::size_t problems_shown = 3;
constexpr std::int32_t largest_level = 255; ///< no two colours are farther apart

void add(finding_list& findings, severity level, std::string text)
{
    findings.push_back({.level = level, .text = std::move(text)});
}

void append(finding_list& findings, const finding_list& more)
{
    findings.insert(findings.end(), more.begin(), more.end());
}

std::vector<screen_region> describe(const subpicture& drawn)
{
    std::vector<screen_region> regions;
    for (const subpicture_region* region = drawn.regions; region != nullptr; region = region->next)
        regions.push_back({.x = region->x,
            .y = region->y,
            .width = region->width,
            .height = region->height,
            .colours = plain::reduce_colours(*region)});
    return regions;
}

/// A colour as the CLUT definition sends it (7.2.4): Y 0 stands for full transparency.
clut_colour as_sent(const palette_entry& colour)
{
    const auto [y, u, v, a] = colour;
    return {.y = a == 0 ? std::uint8_t{0} : y,
        .cr = v,
        .cb = u,
        .t = static_cast<std::uint8_t>(255 - a),
        .defined = true};
}

bool agrees(const screen_region& wanted, const decoded_region& decoded)
{
    std::vector<clut_colour> colours;
    for (const palette_entry& colour : wanted.colours.palette)
        colours.push_back(as_sent(colour));
    colours.resize(16, as_sent({}));
    return wanted.x == decoded.x && wanted.y == decoded.y && wanted.width == decoded.width
        && wanted.height == decoded.height && colours == decoded.colours
        && wanted.colours.indices == decoded.indices;
}

/// Two ways from the drawing to the screen: through the encoder and the decoder, and past them.
void compare(finding_list& findings, const article_screen& screen)
{
    if (!screen.page.problems.empty())
        return;
    const bool agree = std::ranges::equal(screen.regions, screen.page.regions, agrees); // and as many of them
    if (!agree)
        add(findings, severity::broken,
            "the encoded picture is not what was drawn: please report this fault of the software");
}

void check_encoding(
    finding_list& findings, const std::vector<std::string>& problems, const block& display_set)
{
    if (display_set.length >= display_set_capacity && !problems.empty())
        add(findings, severity::broken,
            formatted("the display set is cut at %u bytes: viewers see a broken page", display_set_capacity));
    for (std::size_t i = 0; i < std::min(problems.size(), problems_shown); ++i)
        add(findings, severity::broken, "a receiver finds: " + problems[i]);
}

void check_colours(finding_list& findings, const std::vector<screen_region>& regions)
{
    for (const screen_region& region : regions) {
        if (!region.colours.tolerance_sufficed)
            add(findings, severity::warning,
                formatted("%s: 16 colours cannot stand for those of this picture", region.name.c_str()));
        if (region.colours.largest_error > largest_level)
            add(findings, severity::warning,
                formatted("%s: the carried error has run away: some pixels have quite another colour",
                    region.name.c_str()));
    }
}

} // namespace

article_screen make_screen(subtitle_stream& stream, const item& article, const layout_region* layout,
    const image_source& images, coded_regions& encoded)
{
    article_screen screen;
    const owned_subpicture drawn = draw_article(article, layout, images);
    if (drawn)
        screen.regions = describe(*drawn);
    screen.prepared = drawn && encode_service(stream, drawn.get(), encoded);
    if (screen.prepared)
        screen.page = decode_display_set({stream.display_set->buffer, stream.display_set->length});
    return screen;
}

finding_list check_screen(article_screen& screen, const subtitle_stream& stream, const item& article,
    const layout_region* layout, const std::string& folder)
{
    const auto expected = expected_regions(article, layout);
    finding_list findings = check_article(article, expected, folder);
    name_regions(screen.regions, expected);
    if (!screen.regions.empty()) // otherwise drawing broke off
        append(findings, check_regions(screen.regions, expected));
    if (!screen.prepared) {
        add(findings, severity::broken, "the article cannot be prepared: the daemon does not start");
        return findings;
    }
    check_encoding(findings, screen.page.problems, *stream.display_set);
    check_colours(findings, screen.regions);
    compare(findings, screen);
    return findings;
}

std::uint32_t packets_of(const block& payload)
{
    constexpr std::uint32_t packet_payload_size = packet_size - dvb_header_size;
    return (payload.length + pes_header_size + packet_payload_size - 1) / packet_payload_size;
}
