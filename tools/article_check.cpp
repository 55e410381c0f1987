#include "article_check.h"

#include "canvas.h"
#include "display_set.h"
#include "formatted.h"
#include "text.h"
#include "text_region.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <span>
#include <string_view>

namespace {

constexpr std::array layout_names{"model", "price", "brand", "warranty"};

void add(finding_list& findings, severity level, std::string text)
{
    findings.push_back({.level = level, .text = std::move(text)});
}

void expect_text(
    std::vector<expected_region>& expected, const layout_region* layout, const char* name, const char* text)
{
    const layout_region* const region = getRegionByName(layout, name);
    if (region != nullptr && text != nullptr)
        expected.push_back({.name = name, .layout = region, .text = text});
}

bool has_fixed_size(const expected_region& expected)
{
    return expected.text == nullptr ? !expected.layout->keepRatio : !expected.layout->adjustRegionSize;
}

bool is_drawn_as(const expected_region& expected, const subpicture_region& drawn)
{
    if (expected.layout == nullptr)
        return drawn.x == banner_box.x && drawn.y == banner_box.y;
    const layout_region& place = *expected.layout;
    const auto same = [](std::int32_t wanted, std::uint32_t found) {
        return static_cast<std::uint32_t>(wanted) == found;
    };
    return same(place.x_pos, drawn.x) && same(place.y_pos, drawn.y)
        && (!has_fixed_size(expected)
            || (same(place.width, drawn.width) && same(place.height, drawn.height)));
}

// Texts

/// No text of this size could be read. A font asked for too large a size is of no use from then on.
constexpr std::int32_t largest_measured_size = 10'000;

/// The ink of a text, from the start of its baseline; all zero when the font is refused.
cairo_text_extents_t ink_of(const layout_region& region, const char* text)
{
    text_style style{};
    set_text(style, text);
    const canvas scratch = new_canvas(1, 1);
    select_font(scratch.context.get(), region.font, region.size);
    cairo_text_extents_t ink{};
    cairo_text_extents(scratch.context.get(), style.text.data(), &ink);
    return ink;
}

/// Edges soften over the last pixel.
void report_overrun(
    finding_list& findings, const expected_region& expected, double pixels, const char* direction)
{
    if (pixels > 1.5)
        add(findings, severity::broken,
            formatted("%s: the text is cut: %.0f pixels too %s", expected.name.c_str(), std::ceil(pixels),
                direction));
}

void check_ink(finding_list& findings, const expected_region& expected)
{
    const layout_region& place = *expected.layout;
    const cairo_text_extents_t ink = ink_of(place, expected.text);
    if (place.adjustRegionSize) {
        report_overrun(findings, expected, place.x_pos + ink.width - display_width, "wide for the display");
        report_overrun(findings, expected, place.y_pos + ink.height - display_height, "high for the display");
    } else if (place.width > 0 && place.height > 0) {
        report_overrun(findings, expected, ink.x_bearing + ink.width - place.width, "wide for its region");
        report_overrun(findings, expected, place.size + ink.y_bearing + ink.height - place.height,
            "high for its region");
    }
}

void check_text(finding_list& findings, const expected_region& expected)
{
    const std::size_t size_bytes = std::string_view(expected.text).size();
    if (size_bytes > text_limit_bytes)
        add(findings, severity::broken,
            formatted("%s: the text of %zu bytes is cut at %zu", expected.name.c_str(), size_bytes,
                text_limit_bytes));
    if (expected.layout->font == nullptr)
        add(findings, severity::warning,
            formatted("%s: the layout gives no font: the region stays transparent", expected.name.c_str()));
    else if (std::abs(expected.layout->size) <= largest_measured_size)
        check_ink(findings, expected);
}

void check_place(finding_list& findings, const expected_region& expected)
{
    const auto beyond = [](std::int32_t position, std::uint32_t display) {
        return static_cast<std::uint32_t>(position) > display;
    };
    if (beyond(expected.layout->x_pos, display_width) || beyond(expected.layout->y_pos, display_height))
        add(findings, severity::broken,
            formatted("%s: (%d,%d) lies outside of the display: the daemon does not start",
                expected.name.c_str(), expected.layout->x_pos, expected.layout->y_pos));
}

// Pictures

/// A brand without a logo has a name.
void check_logo(finding_list& findings, const item& article)
{
    if (article.logo == nullptr) {
        std::string name = article.brand;
        std::ranges::transform(name, name.begin(), ascii_lower);
        return add(
            findings, severity::note, formatted("there is no logo %s.png: the name is drawn", name.c_str()));
    }
    const owned_surface logo(cairo_image_surface_create_from_png(article.logo));
    if (const cairo_status_t status = cairo_surface_status(logo.get()); status != CAIRO_STATUS_SUCCESS)
        add(findings, severity::broken,
            formatted("logo %s cannot be used (%s): the daemon does not start", article.logo,
                cairo_status_to_string(status)));
}

void check_icons(finding_list& findings, const item& article, const std::string& folder)
{
    std::set<int> heights;
    for (const char* name : icons_of(article)) {
        if (name == nullptr)
            break;
        const owned_surface icon(cairo_image_surface_create_from_png((folder + name + ".png").c_str()));
        const cairo_status_t status = cairo_surface_status(icon.get());
        if (status == CAIRO_STATUS_SUCCESS)
            heights.insert(cairo_image_surface_get_height(icon.get()));
        else
            add(findings, severity::warning,
                formatted("icon %s.png is missing: %s", name, cairo_status_to_string(status)));
    }
    if (heights.size() > 1)
        add(findings, severity::warning,
            formatted("banner: icons of %d to %d pixels in height: they shift or overlap", *heights.begin(),
                *heights.rbegin()));
}

// Regions as drawn

void report_leaving(
    finding_list& findings, const std::string& name, std::uint64_t end, std::uint32_t limit, const char* edge)
{
    if (end > limit)
        add(findings, severity::broken,
            formatted("%s: the region leaves the display by %u pixels at the %s", name.c_str(),
                static_cast<unsigned>(end - limit), edge));
}

bool overlap(const subpicture_region& one, const subpicture_region& other)
{
    const auto meet = [](std::uint32_t begin, std::uint32_t size, std::uint32_t other_begin,
                          std::uint32_t other_size) {
        return begin < std::uint64_t{other_begin} + other_size && other_begin < std::uint64_t{begin} + size;
    };
    return meet(one.x, one.width, other.x, other.width) && meet(one.y, one.height, other.y, other.height);
}

std::vector<const subpicture_region*> list_of(const subpicture& drawn)
{
    std::vector<const subpicture_region*> regions;
    for (const subpicture_region* region = drawn.regions; region != nullptr; region = region->next)
        regions.push_back(region);
    return regions;
}

void report_left_out(finding_list& findings, const std::vector<expected_region>& expected,
    const std::vector<expected_region>& matched)
{
    for (const expected_region& wanted : expected)
        if (std::ranges::find(matched, wanted.name, &expected_region::name) == matched.end())
            add(findings, severity::warning, wanted.name + ": the region has no pixel and is left out");
}

} // namespace

std::vector<expected_region> expected_regions(const item& article, const layout_region* layout)
{
    std::vector<expected_region> expected;
    expect_text(expected, layout, "model", article.model);
    expect_text(expected, layout, "price", article.price);
    const layout_region* const brand = getRegionByName(layout, "brand");
    if (brand != nullptr && article.logo != nullptr)
        expected.push_back({.name = "brand", .layout = brand});
    else
        expect_text(expected, layout, "brand", article.brand);
    expected.push_back({.name = "banner"});
    expect_text(expected, layout, "warranty", article.warranty);
    return expected;
}

std::vector<expected_region> match_regions(
    const std::vector<expected_region>& expected, const subpicture& drawn)
{
    std::vector<expected_region> matched;
    auto next = expected.begin();
    for (const subpicture_region* region : list_of(drawn)) {
        const auto found = std::find_if(next, expected.end(),
            [&](const expected_region& wanted) { return is_drawn_as(wanted, *region); });
        matched.push_back(found == expected.end() ? expected_region{.name = "?"} : *found);
        next = found == expected.end() ? next : found + 1;
    }
    return matched;
}

finding_list check_article(
    const item& article, const std::vector<expected_region>& expected, const std::string& folder)
{
    finding_list findings;
    for (const expected_region& wanted : expected) {
        if (wanted.layout == nullptr)
            continue;
        check_place(findings, wanted);
        if (wanted.text != nullptr)
            check_text(findings, wanted);
        if (wanted.name == "brand")
            check_logo(findings, article);
    }
    check_icons(findings, article, folder);
    return findings;
}

finding_list check_regions(const subpicture& drawn, const std::vector<expected_region>& expected,
    const std::vector<expected_region>& matched)
{
    finding_list findings;
    report_left_out(findings, expected, matched);
    const auto regions = list_of(drawn);
    for (std::size_t i = 0; i < regions.size(); ++i) {
        const subpicture_region& region = *regions[i];
        const std::string& name = matched[i].name;
        report_leaving(findings, name, std::uint64_t{region.x} + region.width, drawn.width, "right");
        report_leaving(findings, name, std::uint64_t{region.y} + region.height, drawn.height, "bottom");
        for (std::size_t j = 0; j < i; ++j)
            if (overlap(region, *regions[j]))
                add(findings, severity::warning,
                    formatted(
                        "%s and %s overlap: receivers may differ", matched[j].name.c_str(), name.c_str()));
    }
    return findings;
}

finding_list check_layout(const layout_region* layout)
{
    finding_list findings;
    for (const char* name : layout_names)
        if (getRegionByName(layout, name) == nullptr)
            add(findings, severity::note, formatted("the layout has no region \"%s\"", name));
    for (const layout_region* region = layout; region != nullptr; region = region->next) {
        const std::string_view name = region->name == nullptr ? "" : region->name;
        if (std::ranges::find(layout_names, name) == layout_names.end())
            add(findings, severity::note, formatted("the layout's region \"%s\" is never used", name.data()));
        else if (getRegionByName(layout, region->name) != region)
            add(findings, severity::note,
                formatted("the layout has the region \"%s\" twice: the first counts", region->name));
    }
    return findings;
}
