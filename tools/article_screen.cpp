#include "article_screen.h"

#include "display_set.h"
#include "formatted.h"
#include "layout_file.h"
#include "registers.h"
#include "services.h"
#include "silence.h"
#include "ts_packet.h"

#include <algorithm>

namespace {

constexpr std::uint32_t display_set_capacity = 64000;
constexpr std::size_t problems_shown = 3;
constexpr std::int32_t largest_level = 255; ///< no two colours are farther apart

void append(finding_list& findings, const finding_list& more)
{
    findings.insert(findings.end(), more.begin(), more.end());
}

pixel_digest* slot_of(const sound_regions& sound, const pixel_digest& pixels)
{
    return sound.slots.empty() ? nullptr : &sound.slots[pixels[0] % sound.slots.size()];
}

const plain::colour_reduction& reduce(
    known_reductions& known, const subpicture_region& region, const pixel_digest& pixels)
{
    const auto found = known.find(pixels);
    return found != known.end() ? found->second
                                : known.emplace(pixels, plain::reduce_colours(region)).first->second;
}

screen_region describe(const subpicture_region& drawn, drawing_aids& aids)
{
    screen_region region{.x = drawn.x, .y = drawn.y, .width = drawn.width, .height = drawn.height};
    region.pixels = digest_of(*drawn.picture);
    const pixel_digest* const slot = slot_of(aids.sound, region.pixels);
    region.is_sound = slot != nullptr && *slot == region.pixels;
    if (!region.is_sound)
        region.colours = reduce(aids.reductions, drawn, region.pixels);
    return region;
}

std::vector<screen_region> describe(const subpicture& drawn, drawing_aids& aids)
{
    std::vector<screen_region> regions;
    for (const subpicture_region* region = drawn.regions; region != nullptr; region = region->next)
        regions.push_back(describe(*region, aids));
    return regions;
}

rgba_pixel drawn_pixel(const picture& pixels, std::uint32_t line, std::uint32_t column)
{
    palette_entry colour{};
    for (std::size_t i = 0; i < plane_total; ++i) {
        const plane& part = pixels.planes[i];
        colour[i] = part.pixels[std::size_t{line} * static_cast<std::size_t>(part.pitch) + column];
    }
    return screen_colour(as_sent(colour));
}

void put_drawn(screen_picture& screen, const subpicture_region& region)
{
    for (std::uint32_t line = 0; line < region.height && region.y + line < screen.height; ++line)
        for (std::uint32_t column = 0; column < region.width && region.x + column < screen.width; ++column)
            screen.pixels[std::size_t{region.y + line} * screen.width + region.x + column] =
                drawn_pixel(*region.picture, line, column);
}

/// What viewers would see if as many colours could be sent as were drawn.
screen_picture compose_drawn(const subpicture& drawn)
{
    screen_picture screen;
    screen.pixels.resize(std::size_t{screen.width} * screen.height);
    for (const subpicture_region* region = drawn.regions; region != nullptr; region = region->next)
        put_drawn(screen, *region);
    return screen;
}

bool agrees(const screen_region& wanted, const decoded_region& decoded)
{
    std::vector<clut_colour> colours;
    for (const palette_entry& colour : wanted.colours.palette)
        colours.push_back(as_sent(colour));
    colours.resize(16, as_sent({}));
    return wanted.x == decoded.x && wanted.y == decoded.y && wanted.width == decoded.width
        && wanted.height == decoded.height
        && (wanted.is_sound || (colours == decoded.colours && wanted.colours.indices == decoded.indices));
}

/// Two ways from the drawing to the screen: through the encoder and the decoder, and past them.
void compare(finding_list& findings, const article_screen& screen)
{
    const bool agree = std::ranges::equal(screen.regions, screen.page.regions, agrees); // and as many of them
    if (!agree)
        findings.push_back({.level = severity::error,
            .kind = "software-fault",
            .what = "the encoded picture is not what was drawn",
            .advice = "please report this fault of the software"});
}

void check_encoding(finding_list& findings, const std::vector<std::string>& problems,
    const block& display_set, const source_position& at)
{
    if (display_set.length >= display_set_capacity && !problems.empty())
        findings.push_back({.level = severity::error,
            .kind = "display-set-cut",
            .at = at,
            .what = formatted(
                "viewers see a broken page: the display set is cut at %u bytes", display_set_capacity),
            .advice = "draw logo and icons with fewer colours and flat areas"});
    for (std::size_t i = 0; i < std::min(problems.size(), problems_shown); ++i)
        findings.push_back({.level = severity::error,
            .kind = "receiver-problem",
            .at = at,
            .what = "a receiver finds: " + problems[i]});
}

void check_colours(
    finding_list& findings, const std::vector<screen_region>& regions, const check_context& context)
{
    for (const screen_region& region : regions) {
        finding found{.level = severity::warning,
            .at = region.name == "banner" ? source_position{.file = context.folder}
                                          : region_position(context.places, region.name),
            .region = region.name,
            .advice = "draw the picture with fewer colours, pure black and pure white among them"};
        if (region.is_sound)
            continue;
        if (!region.colours.tolerance_sufficed) {
            found.kind = "too-many-colours";
            found.what = "16 colours cannot stand for those of this picture";
            findings.push_back(found);
        }
        if (region.colours.largest_error > largest_level) {
            found.kind = "wrong-pixels";
            found.what = "some pixels have quite another colour: the carried error has run away";
            findings.push_back(found);
        }
    }
}

/// Whether the finding tells by itself why the article cannot be prepared.
bool ends_the_daemon(const finding& found)
{
    return found.what.ends_with("the daemon does not start");
}

} // namespace

clut_colour as_sent(const palette_entry& colour)
{
    const auto [y, u, v, a] = colour;
    return {.y = a == 0 ? std::uint8_t{0} : y,
        .cr = v,
        .cb = u,
        .t = static_cast<std::uint8_t>(255 - a),
        .defined = true};
}

article_screen make_screen(subtitle_stream& stream, const item& article, const layout_region* layout,
    const std::string& folder, drawing_aids& aids)
{
    silence messages(stderr); // findings tell more of what they tell
    article_screen screen;
    const owned_subpicture drawn = draw_article(article, layout, {.folder = folder, .cache = &aids.images});
    if (drawn)
        screen.regions = describe(*drawn, aids);
    if (drawn && aids.keep_drawn)
        screen.drawn = compose_drawn(*drawn);
    screen.prepared = drawn && encode_service(stream, drawn.get(), aids.encoded);
    if (screen.prepared)
        screen.page = decode_display_set({stream.display_set->buffer, stream.display_set->length});
    else
        screen.failure = messages.said();
    return screen;
}

finding_list check_screen(article_screen& screen, const subtitle_stream& stream, const item& article,
    const article_places& places, const check_context& context, const sound_regions& sound)
{
    const auto expected = expected_regions(article, context.layout);
    finding_list findings = check_article(article, places, expected, context);
    name_regions(screen.regions, expected);
    if (!screen.regions.empty()) // otherwise drawing broke off
        append(findings, check_regions(screen.regions, expected, context));
    if (!screen.prepared && std::ranges::any_of(findings, ends_the_daemon))
        return findings;
    if (!screen.prepared) {
        findings.push_back({.level = severity::error,
            .kind = "not-prepared",
            .at = places.at,
            .what = "the daemon does not start: it cannot prepare the article (" + screen.failure + ")",
            .advice = "mend what is said of this article, its logo and its regions"});
        return findings;
    }
    check_encoding(findings, screen.page.problems, *stream.display_set, places.at);
    if (screen.page.problems.empty())
        append(findings, check_contrast(screen.regions, screen.page.regions, expected, context));
    const std::size_t before = findings.size();
    check_colours(findings, screen.regions, context);
    if (screen.page.problems.empty())
        compare(findings, screen);
    if (screen.page.problems.empty() && findings.size() == before)
        for (const screen_region& region : screen.regions)
            if (pixel_digest* const slot = slot_of(sound, region.pixels))
                *slot = region.pixels;
    return findings;
}

std::uint32_t packets_of(const block& payload)
{
    constexpr std::uint32_t packet_payload_size = packet_size - dvb_header_size;
    return (payload.length + pes_header_size + packet_payload_size - 1) / packet_payload_size;
}
