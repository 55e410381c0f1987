#include "article_check.h"

#include "banner.h"
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
#include <optional>
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

bool is_drawn_as(const expected_region& expected, const screen_region& drawn)
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

/// How wide a label is over an icon, from its left edge on, in pixels of the display; nothing when it cannot
/// be written. Labels share the scale of their icon: on one of a few pixels the font becomes enormous.
std::optional<double> label_end(
    const feature_icon& icon, const std::string& label, double width, double height)
{
    const canvas scratch = new_canvas(banner_box);
    cairo_t* const context = scratch.context.get();
    const double scale = banner_box.width / width;
    cairo_scale(context, scale, banner_box.height / (icon_slots * height));
    select_font(context, label_font, label_font_size);
    cairo_text_extents_t ink{};
    cairo_text_extents(context, label.c_str(), &ink);
    cairo_move_to(context, 0, height);
    cairo_show_text(context, label.c_str());
    if (cairo_status(context) != CAIRO_STATUS_SUCCESS)
        return std::nullopt;
    return (icon.label->x * static_cast<std::uint32_t>(width) + ink.x_bearing + ink.width) * scale;
}

void check_label(finding_list& findings, const feature_icon& icon, int width, int height)
{
    const std::string label = std::string(icon.label->prefix) + icon.text;
    const auto end = label_end(icon, label, width, height);
    if (!end)
        add(findings, severity::broken,
            formatted("banner: \"%s\" cannot be written on %s.png of %dx%d pixels: an icon below it ends the "
                      "daemon",
                label.c_str(), icon.name, width, height));
    else if (*end > banner_box.width + 1)
        add(findings, severity::broken,
            formatted("banner: \"%s\" is cut: %.0f pixels too wide for its icon", label.c_str(),
                std::ceil(*end - banner_box.width)));
}

/// Returns the height of the icon's file, or nothing when it will be left out.
std::optional<int> check_icon(finding_list& findings, const feature_icon& icon, const std::string& folder)
{
    const owned_surface image(cairo_image_surface_create_from_png((folder + icon.name + ".png").c_str()));
    if (const cairo_status_t status = cairo_surface_status(image.get()); status != CAIRO_STATUS_SUCCESS) {
        add(findings, severity::warning,
            formatted("icon %s.png is missing: %s", icon.name, cairo_status_to_string(status)));
        return std::nullopt;
    }
    const int width = cairo_image_surface_get_width(image.get());
    const int height = cairo_image_surface_get_height(image.get());
    if (icon.label)
        check_label(findings, icon, width, height);
    return height;
}

void check_icons(finding_list& findings, const item& article, const std::string& folder)
{
    std::set<int> heights;
    for (const feature_icon& icon : icons_of(article))
        if (const auto height = icon.name == nullptr ? std::nullopt : check_icon(findings, icon, folder))
            heights.insert(*height);
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

/// Each pixel of a region takes 8 bytes while it is drawn and encoded.
void report_size(finding_list& findings, const screen_region& region)
{
    constexpr std::uint64_t display_pixels = std::uint64_t{display_width} * display_height;
    const std::uint64_t pixels = std::uint64_t{region.width} * region.height;
    if (pixels > display_pixels)
        add(findings, severity::warning,
            formatted("%s: drawing %ux%u pixels, %.1f times the display, takes that much longer and %.0f MB "
                      "of memory",
                region.name.c_str(), region.width, region.height,
                static_cast<double>(pixels) / display_pixels, static_cast<double>(pixels) * 8e-6));
}

bool overlap(const screen_region& one, const screen_region& other)
{
    const auto meet = [](std::uint32_t begin, std::uint32_t size, std::uint32_t other_begin,
                          std::uint32_t other_size) {
        return begin < std::uint64_t{other_begin} + other_size && other_begin < std::uint64_t{begin} + size;
    };
    return meet(one.x, one.width, other.x, other.width) && meet(one.y, one.height, other.y, other.height);
}

void report_left_out(finding_list& findings, const std::vector<screen_region>& drawn,
    const std::vector<expected_region>& expected)
{
    for (const expected_region& wanted : expected)
        if (std::ranges::find(drawn, wanted.name, &screen_region::name) == drawn.end())
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

void name_regions(std::vector<screen_region>& drawn, const std::vector<expected_region>& expected)
{
    auto next = expected.begin();
    for (screen_region& region : drawn) {
        const auto found = std::find_if(
            next, expected.end(), [&](const expected_region& wanted) { return is_drawn_as(wanted, region); });
        region.name = found == expected.end() ? "?" : found->name;
        next = found == expected.end() ? next : found + 1;
    }
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

finding_list check_regions(
    const std::vector<screen_region>& drawn, const std::vector<expected_region>& expected)
{
    finding_list findings;
    report_left_out(findings, drawn, expected);
    for (std::size_t i = 0; i < drawn.size(); ++i) {
        const screen_region& region = drawn[i];
        const auto name = region.name.c_str();
        report_leaving(findings, name, std::uint64_t{region.x} + region.width, display_width, "right");
        report_leaving(findings, name, std::uint64_t{region.y} + region.height, display_height, "bottom");
        report_size(findings, region);
        for (std::size_t j = 0; j < i; ++j)
            if (overlap(region, drawn[j]))
                add(findings, severity::warning,
                    formatted("%s and %s overlap: receivers may differ", drawn[j].name.c_str(), name));
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
