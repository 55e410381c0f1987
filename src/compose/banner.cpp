#include "banner.h"

#include "resources.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <utility>

namespace {

constexpr rgba black{.red = 0, .green = 0, .blue = 0, .alpha = 1};
constexpr const char* label_font = "Arial";
constexpr double label_font_size = 40; ///< in pixels of the icon file
constexpr std::uint32_t icon_slots = 8;

/// A part of an icon's width or height.
struct fraction {
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 1;
};

constexpr std::uint32_t operator*(const fraction& part, std::uint32_t whole)
{
    return part.numerator * whole / part.denominator;
}

/// The text of a feature, written over its icon. The origin is the start of the baseline.
struct label_layout {
    const char* prefix = ""; ///< before the text
    fraction x;
    fraction y;
};

/// Shown when its text is not null or its flag is set.
struct feature {
    char* item::*text = nullptr;
    std::uint8_t item::*flag = nullptr;
    const char* icon = nullptr; ///< file name without suffix; null: the text is the name
    std::optional<label_layout> label = {};
};

/// From the top of the banner down.
constexpr feature features[] = {
    {.text = &item::type},
    {.text = &item::size, .icon = "size", .label = label_layout{.x = {1, 3}, .y = {3, 5}}},
    {.text = &item::hd},
    {.flag = &item::tuner_hd, .icon = "tunerhd"},
    {.text = &item::hdmi, .icon = "hdmi", .label = label_layout{.prefix = "X ", .x = {2, 5}, .y = {2, 3}}},
    {.text = &item::usb, .icon = "usb", .label = label_layout{.prefix = "X ", .x = {2, 5}, .y = {4, 5}}},
    {.flag = &item::threeD_ready, .icon = "3dready"},
};

const char* text_of(const item& article, const feature& shown)
{
    return shown.text == nullptr ? nullptr : article.*shown.text;
}

bool has(const item& article, const feature& wanted)
{
    return wanted.flag == nullptr ? text_of(article, wanted) != nullptr : article.*wanted.flag != 0;
}

const char* icon_of(const item& article, const feature& shown)
{
    return shown.icon == nullptr ? text_of(article, shown) : shown.icon;
}

/// The column of icons while it grows.
struct icon_column {
    cairo_t* context = nullptr;
    const region_format& format;
    const image_source& source;
    double cursor = 0; ///< rows of the icon files drawn so far
};

void write_label(const icon_column& column, const label_layout& label, const char* text,
    const placed_image& icon, const char* path)
{
    set_colour(column.context, black);
    cairo_move_to(column.context, label.x * icon.width, column.cursor + label.y * icon.height);
    cairo_show_text(column.context, label.prefix);
    cairo_show_text(column.context, text);
    // The next icon will be told to be at fault, since the context stays so.
    if (cairo_status(column.context) != CAIRO_STATUS_SUCCESS)
        std::fprintf(stderr, "Error: Cannot write %s%s on image %s of %ux%u pixels: %s\n", label.prefix, text,
            path, icon.width, icon.height, cairo_status_to_string(cairo_status(column.context)));
}

/// A label is written anew for every article, as all text is: see `AddTextSubtitle`.
[[nodiscard]] bool draw_icon(icon_column& column, const feature& shown, const item& article,
    const placed_image& icon, const char* path)
{
    cairo_save(column.context);
    if (!paint_image(column.context, icon, path))
        return false;
    if (shown.label)
        write_label(column, *shown.label, text_of(article, shown), icon, path);
    column.cursor += icon.height;
    cairo_restore(column.context);
    return true;
}

void report_missing(std::string_view folder, const char* name, cairo_status_t status)
{
    std::fprintf(stderr, "Error: Cannot find image %.*s%s.png: %s\n", static_cast<int>(folder.size()),
        folder.data(), name, cairo_status_to_string(status));
}

/// Whether the column can go on: a missing icon does not end it.
[[nodiscard]] bool draw_feature(icon_column& column, const feature& shown, const item& article)
{
    const auto& [folder, cache] = column.source;
    const char* const name = icon_of(article, shown);
    const auto path = picture_path(folder, name);
    const image_place place{.width = column.format.width,
        .height = column.format.height,
        .slots = icon_slots,
        .y = column.cursor};
    const placed_image icon =
        path ? load_image(path->data(), place, cache) : placed_image{.status = CAIRO_STATUS_FILE_NOT_FOUND};
    if (icon.status == CAIRO_STATUS_SUCCESS)
        return draw_icon(column, shown, article, icon, path->data());
    report_missing(folder, name, icon.status);
    return true;
}

[[nodiscard]] bool draw_features(icon_column& column, const item& article)
{
    return std::ranges::all_of(features, [&](const feature& candidate) {
        return !has(article, candidate) || draw_feature(column, candidate, article);
    });
}

} // namespace

icon_list icons_of(const item& article)
{
    static_assert(std::size(features) == std::tuple_size_v<icon_list>);
    icon_list icons{};
    std::size_t count = 0;
    for (const feature& candidate : features) {
        if (has(article, candidate))
            icons[count++] = icon_of(article, candidate);
    }
    return icons;
}

std::int32_t BuildFeaturesBanner(
    const region_format* format, const item* article, subpicture* display_set, const image_source& icons)
{
    if (format == nullptr || article == nullptr || display_set == nullptr || format->width == 0)
        return fail_drawing(EINVAL);
    if (!is_on_display(*format, *display_set))
        return drawing_failed;

    canvas drawn = new_canvas(*format);
    fill(drawn.context.get(), *format, black);
    select_font(drawn.context.get(), label_font, label_font_size);
    icon_column column{.context = drawn.context.get(), .format = *format, .source = icons};
    if (!draw_features(column, *article))
        return drawing_failed;
    return AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), *format, *display_set);
}
