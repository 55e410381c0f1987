#include "banner.h"

#include "resources.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace {

constexpr rgba black{.red = 0, .green = 0, .blue = 0, .alpha = 1};

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

const char* text_of(const item& article, const feature& wanted)
{
    return wanted.text == nullptr ? nullptr : article.*wanted.text;
}

bool has(const item& article, const feature& wanted)
{
    return wanted.flag == nullptr ? text_of(article, wanted) != nullptr : article.*wanted.flag != 0;
}

feature_icon icon_of(const item& article, const feature& shown)
{
    const char* const text = text_of(article, shown);
    return {.name = shown.icon == nullptr ? text : shown.icon, .text = text, .label = shown.label};
}

/// The column of icons while it grows.
struct icon_column {
    cairo_t* context = nullptr;
    const region_format& format;
    const image_source& source;
    double cursor = 0; ///< rows of the icon files drawn so far
};

void write_label(
    const icon_column& column, const feature_icon& icon, const placed_image& image, const char* path)
{
    const label_layout& label = *icon.label;
    set_colour(column.context, black);
    cairo_move_to(column.context, label.x * image.width, column.cursor + label.y * image.height);
    cairo_show_text(column.context, label.prefix);
    cairo_show_text(column.context, icon.text);
    // The next icon will be told to be at fault, since the context stays so.
    if (cairo_status(column.context) != CAIRO_STATUS_SUCCESS)
        std::fprintf(stderr, "Error: Cannot write %s%s on image %s of %ux%u pixels: %s\n", label.prefix,
            icon.text, path, image.width, image.height, cairo_status_to_string(cairo_status(column.context)));
}

/// A label is written anew for every article, as all text is: see `AddTextSubtitle`.
[[nodiscard]] bool draw_icon(
    icon_column& column, const feature_icon& icon, const placed_image& image, const char* path)
{
    cairo_save(column.context);
    if (!paint_image(column.context, image, path))
        return false;
    if (icon.label)
        write_label(column, icon, image, path);
    column.cursor += image.height;
    cairo_restore(column.context);
    return true;
}

void report_missing(std::string_view folder, const char* name, cairo_status_t status)
{
    std::fprintf(stderr, "Error: Cannot find image %.*s%s.png: %s\n", static_cast<int>(folder.size()),
        folder.data(), name, cairo_status_to_string(status));
}

/// Whether the column can go on: a missing icon does not end it.
[[nodiscard]] bool draw_feature(icon_column& column, const feature_icon& icon)
{
    const auto& [folder, cache] = column.source;
    const auto path = picture_path(folder, icon.name);
    const image_place place{.width = column.format.width,
        .height = column.format.height,
        .slots = icon_slots,
        .y = column.cursor};
    const placed_image image =
        path ? load_image(path->data(), place, cache) : placed_image{.status = CAIRO_STATUS_FILE_NOT_FOUND};
    if (image.status == CAIRO_STATUS_SUCCESS)
        return draw_icon(column, icon, image, path->data());
    report_missing(folder, icon.name, image.status);
    return true;
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
    const auto draw = [&](const feature_icon& icon) {
        return icon.name == nullptr || draw_feature(column, icon);
    };
    if (!std::ranges::all_of(icons_of(*article), draw))
        return drawing_failed;
    return AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), *format, *display_set);
}
