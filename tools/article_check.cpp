#include "article_check.h"

#include "banner.h"
#include "canvas.h"
#include "contrast.h"
#include "display_set.h"
#include "formatted.h"
#include "picture_check.h"
#include "resources.h"
#include "text.h"
#include "text_region.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <set>
#include <string_view>

namespace {

/// An article under check.
struct article_check {
    const item& article;
    const article_places& places;
    const check_context& context;
    finding_list findings{};
};

article_field field_of(std::string_view region)
{
    return region == "model" ? article_field::model
        : region == "price"  ? article_field::price
        : region == "brand"  ? article_field::brand
                             : article_field::warranty;
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

bool can_be_measured(const expected_region& expected)
{
    return expected.text != nullptr && expected.layout->font != nullptr
        && std::abs(expected.layout->size) <= largest_measured_size;
}

/// Edges soften over the last pixel.
void report_overrun(
    article_check& check, const expected_region& expected, double pixels, const char* direction)
{
    if (pixels > 1.5)
        check.findings.push_back({.level = severity::error,
            .kind = "text-cut",
            .at = check.places[field_of(expected.name)],
            .region = expected.name,
            .what = formatted("the text is cut: it is %.0f pixels too %s", std::ceil(pixels), direction),
            .advice = "write less, or choose a smaller size or a larger region in the layout",
            .same = direction});
}

void check_ink(article_check& check, const expected_region& expected)
{
    const layout_region& place = *expected.layout;
    const cairo_text_extents_t ink = ink_of(place, expected.text);
    if (place.adjustRegionSize) {
        report_overrun(check, expected, place.x_pos + ink.width - display_width, "wide for the display");
        report_overrun(check, expected, place.y_pos + ink.height - display_height, "high for the display");
    } else if (place.width > 0 && place.height > 0) {
        report_overrun(check, expected, ink.x_bearing + ink.width - place.width, "wide for its region");
        report_overrun(
            check, expected, place.size + ink.y_bearing + ink.height - place.height, "high for its region");
    }
}

/// The layout's font, or that of all labels.
void check_font(
    article_check& check, const source_position& at, const std::string& region, const char* family)
{
    const chosen_font& font = find_font(check.context.things.fonts, family);
    if (font.is_installed || (font.has_same_widths && region == "banner"))
        return;
    check.findings.push_back({.level = font.has_same_widths ? severity::warning : severity::error,
        .kind = "font-not-installed",
        .at = at,
        .region = region,
        .what = formatted("the font \"%s\" is not installed here: viewers see %s%s", family,
            font.family.empty() ? "cairo's own thin letters, and boxes for those with accents"
                                : formatted("\"%s\"", font.family.c_str()).c_str(),
            font.has_same_widths ? ", which has the same widths" : ""),
        .advice = "install the font, here and on the boards, or name one that is: fc-list lists them"});
}

void check_characters(article_check& check, const source_position& at, const std::string& region,
    const char* family, const std::string& text)
{
    const chosen_font& font = find_font(check.context.things.fonts, family);
    for (const std::string& character : missing_characters(font, text))
        check.findings.push_back({.level = severity::error,
            .kind = "missing-character",
            .at = at,
            .region = region,
            .what = formatted(R"(viewers see a box: the font "%s" lacks the character "%s")",
                font.family.c_str(), character.c_str()),
            .advice = "write it in other characters, or choose another font in the layout"});
}

void check_text(article_check& check, const expected_region& expected)
{
    const source_position& at = check.places[field_of(expected.name)];
    const std::string_view text = expected.text;
    if (text.size() > text_limit_bytes)
        check.findings.push_back({.level = severity::error,
            .kind = "text-cut",
            .at = at,
            .region = expected.name,
            .what = formatted("the text of %zu bytes is cut at %zu", text.size(), text_limit_bytes),
            .advice = "write less",
            .same = "long"});
    const source_position layout_at = text_position(check.context.places, expected.name);
    if (expected.layout->font == nullptr)
        return check.findings.push_back({.level = severity::error,
            .kind = "no-font",
            .at = layout_at,
            .region = expected.name,
            .what = "nothing is shown: the layout gives no font, and the region stays transparent",
            .advice = "write font=\"…\" into the region's text element"});
    check_font(check, layout_at, expected.name, expected.layout->font);
    check_characters(check, at, expected.name, expected.layout->font, expected.text);
    if (can_be_measured(expected))
        check_ink(check, expected);
}

void check_place(article_check& check, const expected_region& expected)
{
    const auto beyond = [](std::int32_t position, std::uint32_t limit) {
        return static_cast<std::uint32_t>(position) > limit;
    };
    constexpr std::uint32_t largest_side = 32767;
    const layout_region& place = *expected.layout;
    const bool is_outside = beyond(place.x_pos, display_width) || beyond(place.y_pos, display_height);
    const bool is_impossible =
        has_fixed_size(expected) && (beyond(place.width, largest_side) || beyond(place.height, largest_side));
    if (is_outside || is_impossible)
        check.findings.push_back({.level = severity::error,
            .kind = "place-out-of-range",
            .at = region_position(check.context.places, expected.name),
            .region = expected.name,
            .what = is_outside ? formatted("(%d,%d) lies outside of the display: the daemon does not start",
                        place.x_pos, place.y_pos)
                               : formatted("%dx%d pixels cannot be drawn: the daemon does not start",
                                   place.width, place.height),
            .advice = "write positions and sizes from 0 to 720 (across) and 576 (down)"});
}

// Pictures

const seen_picture& look_at(article_check& check, const std::string& path)
{
    auto& pictures = check.context.things.pictures;
    if (const auto found = pictures.find(path); found != pictures.end())
        return found->second;
    const owned_surface image(cairo_image_surface_create_from_png(path.c_str()));
    seen_picture seen{.is_usable = cairo_surface_status(image.get()) == CAIRO_STATUS_SUCCESS};
    if (seen.is_usable) {
        seen.width = cairo_image_surface_get_width(image.get());
        seen.height = cairo_image_surface_get_height(image.get());
    }
    return pictures.emplace(path, seen).first->second;
}

/// How a picture comes to the name that the daemon looks for. Others may rely on one that has no blanks.
std::string rename_advice(const std::string& neighbour, const std::string& name, const char* text)
{
    const std::string meant = without_blanks(name);
    const std::string rename = neighbour == meant ? ""
        : equal_ignoring_case(neighbour.substr(neighbour.rfind('.')), ".png")
        ? formatted(R"(rename "%s" to "%s")", neighbour.c_str(), meant.c_str())
        : formatted(R"(save "%s" as a PNG file "%s")", neighbour.c_str(), meant.c_str());
    const std::string write = meant == name ? "" : formatted("write %s without the blanks around it", text);
    return write + (write.empty() || rename.empty() ? "" : "; ") + rename;
}

/// A brand without a logo has a name; but sometimes the logo is there in another way.
void check_missing_logo(article_check& check)
{
    std::string name = check.article.brand;
    std::ranges::transform(name, name.begin(), ascii_lower);
    name += ".png";
    const std::string neighbour = neighbour_of(check.context.files, name);
    finding found{.kind = "no-logo",
        .at = check.places[article_field::brand],
        .region = "brand",
        .what = formatted("there is no logo \"%s\": the name is drawn", name.c_str())};
    if (!neighbour.empty()) {
        found.level = severity::error;
        found.advice = neighbour == name ? "let the daemon read the file: chmod a+r"
                                         : rename_advice(neighbour, name, "the brand");
    }
    check.findings.push_back(std::move(found));
}

void check_logo(article_check& check)
{
    if (check.article.logo == nullptr)
        return check_missing_logo(check);
    if (look_at(check, check.article.logo).is_usable)
        return;
    check.findings.push_back({.level = severity::error,
        .kind = "unusable-picture",
        .at = {.file = check.article.logo},
        .region = "brand",
        .what = "the logo is " + kind_of_file(check.article.logo) + ": the daemon does not start",
        .advice = "save it anew as a PNG file"});
}

const source_position& place_of(const article_check& check, const feature_icon& icon)
{
    const item& article = check.article;
    const std::pair<const char*, article_field> texts[] = {{article.type, article_field::type},
        {article.size, article_field::size}, {article.hd, article_field::hd},
        {article.hdmi, article_field::hdmi}, {article.usb, article_field::usb}};
    for (const auto& [text, field] : texts)
        if (icon.text != nullptr && icon.text == text)
            return check.places[field];
    return check
        .places[std::string_view(icon.name) == "tunerhd" ? article_field::tuner : article_field::threeD];
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

void check_label(article_check& check, const feature_icon& icon, int width, int height)
{
    const std::string label = std::string(icon.label->prefix) + icon.text;
    const source_position& at = place_of(check, icon);
    const auto end = label_end(icon, label, width, height);
    if (!end)
        check.findings.push_back({.level = severity::error,
            .kind = "label-cut",
            .at = at,
            .region = "banner",
            .what = formatted("\"%s\" cannot be written on %s.png of %dx%d pixels: an icon below it ends "
                              "the daemon",
                label.c_str(), icon.name, width, height),
            .advice = "draw the icon anew, 176 pixels wide and 137 high"});
    else if (*end > banner_box.width + 1)
        check.findings.push_back({.level = severity::error,
            .kind = "label-cut",
            .at = at,
            .region = "banner",
            .what = formatted("\"%s\" is cut: it is %.0f pixels too wide for its icon", label.c_str(),
                std::ceil(*end - banner_box.width)),
            .advice = "write less, such as 32\"",
            .same = "wide"});
    check_characters(check, at, "banner", label_font, label);
}

void report_icon(article_check& check, const feature_icon& icon, const std::string& name)
{
    const std::string path = check.context.folder + name;
    const std::string neighbour = neighbour_of(check.context.files, name);
    finding found{
        .level = severity::error, .kind = "no-icon", .at = place_of(check, icon), .region = "banner"};
    if (neighbour == name) {
        found.kind = "unusable-picture";
        found.at = {.file = path};
        found.what = "the icon is " + kind_of_file(path) + ": it is left out";
        found.advice = "save it anew as a PNG file, 176 pixels wide and 137 high";
    } else {
        found.level = neighbour.empty() ? severity::warning : severity::error;
        found.what = formatted("there is no icon \"%s\": it is left out", name.c_str());
        found.advice = neighbour.empty()
            ? formatted("draw \"%s\", or write another word that has an icon", name.c_str())
            : rename_advice(neighbour, name, "the word");
    }
    check.findings.push_back(std::move(found));
}

/// Returns the height of the icon's file, or nothing when it will be left out.
std::optional<int> check_icon(article_check& check, const feature_icon& icon)
{
    const std::string name = std::string(icon.name) + ".png";
    const seen_picture& image = look_at(check, check.context.folder + name);
    if (!image.is_usable) {
        report_icon(check, icon, name);
        return std::nullopt;
    }
    if (icon.label)
        check_label(check, icon, image.width, image.height);
    return image.height;
}

void check_icons(article_check& check)
{
    std::set<int> heights;
    const icon_list icons = icons_of(check.article);
    if (std::ranges::any_of(
            icons, [](const feature_icon& icon) { return icon.name != nullptr && icon.label; }))
        check_font(check, {}, "banner", label_font);
    for (const feature_icon& icon : icons)
        if (const auto height = icon.name == nullptr ? std::nullopt : check_icon(check, icon))
            heights.insert(*height);
    if (heights.size() > 1)
        check.findings.push_back({.level = severity::warning,
            .kind = "icon-heights",
            .at = {.file = check.context.folder},
            .region = "banner",
            .what = formatted(
                "icons of %d to %d pixels in height shift or overlap", *heights.begin(), *heights.rbegin()),
            .advice = "draw all icons equally high, best 137 pixels"});
}

// The article as a whole

/// An article without any of them is but a banner; elsewhere one that the layout shows may have been
/// forgotten.
void check_missing_texts(article_check& check)
{
    const item& article = check.article;
    const auto missing = [&](severity level, const char* region, const std::string& what,
                             const char* advice) {
        check.findings.push_back({.level = level,
            .kind = "missing-text",
            .at = check.places.at,
            .region = region,
            .what = what,
            .advice = advice});
    };
    if (article.model == nullptr && article.price == nullptr && article.brand == nullptr)
        return missing(severity::error, "",
            "the article has neither model, price nor brand: viewers see none",
            "write them into the article, or into the reference file under the article's code");
    for (const auto& [name, text] : {std::pair("model", article.model), std::pair("price", article.price)})
        if (text == nullptr && getRegionByName(check.context.layout, name) != nullptr)
            missing(severity::warning, name, formatted("the article has no %s: viewers see none", name),
                "write it into the article, or into the reference file");
}

// Regions as drawn

void report_leaving(
    finding_list& findings, const finding& base, std::uint64_t end, std::uint32_t limit, const char* edge)
{
    if (end <= limit)
        return;
    finding found = base;
    found.level = severity::error;
    found.kind = "region-leaves-display";
    found.what = formatted(
        "the region leaves the display by %u pixels at the %s", static_cast<unsigned>(end - limit), edge);
    found.advice = "move the region, or make it smaller";
    findings.push_back(std::move(found));
}

/// Each pixel of a region takes 8 bytes while it is drawn and encoded.
void report_size(finding_list& findings, const finding& base, const screen_region& region)
{
    constexpr std::uint64_t display_pixels = std::uint64_t{display_width} * display_height;
    const std::uint64_t pixels = std::uint64_t{region.width} * region.height;
    if (pixels <= display_pixels)
        return;
    finding found = base;
    found.level = severity::warning;
    found.kind = "large-region";
    found.what = formatted("drawing %ux%u pixels, %.1f times the display, takes that much longer and %.0f MB "
                           "of memory",
        region.width, region.height, static_cast<double>(pixels) / display_pixels,
        static_cast<double>(pixels) * 8e-6);
    found.advice = "make the region no larger than the display";
    findings.push_back(std::move(found));
}

bool overlap(const screen_region& one, const screen_region& other)
{
    const auto meet = [](std::uint32_t begin, std::uint32_t size, std::uint32_t other_begin,
                          std::uint32_t other_size) {
        return begin < std::uint64_t{other_begin} + other_size && other_begin < std::uint64_t{begin} + size;
    };
    return meet(one.x, one.width, other.x, other.width) && meet(one.y, one.height, other.y, other.height);
}

/// At the layout's region: the icons have their fixed place.
void report_overlap(
    finding_list& findings, const check_context& context, const std::string& one, const std::string& other)
{
    const std::string& region = other == "banner" ? one : other;
    findings.push_back({.level = severity::warning,
        .kind = "regions-overlap",
        .at = region_position(context.places, region),
        .region = region,
        .what = formatted(R"("%s" and "%s" overlap: receivers may differ)", one.c_str(), other.c_str()),
        .advice = "move one of them; the icons lie from 603 to 690 across, whatever the layout says"});
}

void report_left_out(finding_list& findings, const std::vector<screen_region>& drawn,
    const std::vector<expected_region>& expected, const check_context& context)
{
    for (const expected_region& wanted : expected)
        if (std::ranges::find(drawn, wanted.name, &screen_region::name) == drawn.end())
            findings.push_back({.level = severity::warning,
                .kind = "empty-region",
                .at = region_position(context.places, wanted.name),
                .region = wanted.name,
                .what = "the region has no pixel and is left out",
                .advice =
                    "give the region a width and a height; with adjustRegionSize=\"yes\" the text needs "
                    "letters and a size"});
}

void report_contrast(finding_list& findings, const expected_region& expected, const text_contrast& contrast,
    const source_position& at)
{
    const double size = expected.layout->size;
    if (contrast.lowest >= wanted_contrast(size))
        return;
    const bool is_hidden = contrast.highest < least_contrast(size);
    const bool depends = contrast.highest >= wanted_contrast(size);
    findings.push_back({.level = is_hidden ? severity::error : severity::warning,
        .kind = "low-contrast",
        .at = at,
        .region = expected.name,
        .what = depends
            ? formatted("the text is hard to read over some pictures, since its ground is not "
                        "opaque: its contrast falls to %.1f : 1",
                contrast.lowest)
            : formatted("%s its contrast is %.1f : 1",
                is_hidden ? "viewers see little or nothing of the text:" : "the text is hard to read:",
                contrast.highest),
        .advice = formatted(
            "choose other colours: text of this size needs %.1f : 1 (WCAG 2.1)", wanted_contrast(size))});
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

finding_list check_article(const item& article, const article_places& places,
    const std::vector<expected_region>& expected, const check_context& context)
{
    article_check check{.article = article, .places = places, .context = context};
    for (const expected_region& wanted : expected) {
        if (wanted.layout == nullptr)
            continue;
        check_place(check, wanted);
        if (wanted.text != nullptr)
            check_text(check, wanted);
        if (wanted.name == "brand")
            check_logo(check);
    }
    check_icons(check);
    check_missing_texts(check);
    return check.findings;
}

finding_list check_regions(const std::vector<screen_region>& drawn,
    const std::vector<expected_region>& expected, const check_context& context)
{
    finding_list findings;
    report_left_out(findings, drawn, expected, context);
    for (std::size_t i = 0; i < drawn.size(); ++i) {
        const screen_region& region = drawn[i];
        const finding base{.at = region_position(context.places, region.name), .region = region.name};
        report_leaving(findings, base, std::uint64_t{region.x} + region.width, display_width, "right");
        report_leaving(findings, base, std::uint64_t{region.y} + region.height, display_height, "bottom");
        report_size(findings, base, region);
        for (std::size_t j = 0; j < i; ++j)
            if (overlap(region, drawn[j]))
                report_overlap(findings, context, drawn[j].name, region.name);
    }
    return findings;
}

finding_list check_contrast(const std::vector<screen_region>& drawn,
    const std::vector<decoded_region>& decoded, const std::vector<expected_region>& expected,
    const check_context& context)
{
    finding_list findings;
    for (std::size_t i = 0; i < std::min(drawn.size(), decoded.size()); ++i) {
        const auto wanted = std::ranges::find(expected, drawn[i].name, &expected_region::name);
        const layout_element* const element = find_region(context.places, drawn[i].name);
        if (wanted == expected.end() || element == nullptr || !element->has_colours
            || !can_be_measured(*wanted) || ink_of(*wanted->layout, wanted->text).width <= 0)
            continue;
        const text_contrast contrast = contrast_of(decoded[i], *wanted->layout);
        report_contrast(findings, *wanted, contrast, text_position(context.places, wanted->name));
    }
    return findings;
}
