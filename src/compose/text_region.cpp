#include "text_region.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

namespace {

/// FreeType scales a font to no more. After a refusal cairo would keep the font in an error state, and
/// every later text in it would stay undrawn.
constexpr double largest_font_size = 65535;

rgba colour_of(std::uint32_t argb)
{
    const auto component = [argb](std::uint32_t shift) { return (argb >> shift & 0xFF) / 255.0; };
    return {.red = component(16), .green = component(8), .blue = component(0), .alpha = component(24)};
}

/// The bytes before the terminator; all of them when there is none.
std::size_t length_of(const text_style& style)
{
    return static_cast<std::size_t>(std::ranges::find(style.text, '\0') - style.text.begin());
}

bool is_too_long(const text_style& style)
{
    if (length_of(style) <= text_limit_bytes)
        return false;
    std::fprintf(stderr, "Error: Text exceeds %d characters\n", static_cast<int>(text_limit_bytes));
    return true;
}

/// Toward zero. What does not fit becomes the nearest number that does, what is no number the lowest.
int truncated(double value)
{
    constexpr auto lowest = std::numeric_limits<int>::min();
    constexpr auto highest = std::numeric_limits<int>::max();
    if (!(value > lowest))
        return lowest;
    return value < highest ? static_cast<int>(value) : highest;
}

/// The ink of the text; all zero when the font or the text is refused.
cairo_text_extents_t extents_of(const text_style& style)
{
    const auto length = static_cast<double>(length_of(style));
    const canvas scratch = new_canvas(truncated(length * style.font_size), truncated(2 * style.font_size));
    select_font(scratch.context.get(), style.font, style.font_size);
    cairo_text_extents_t extents{};
    cairo_text_extents(scratch.context.get(), style.text.data(), &extents);
    return extents;
}

/// The extent of ink that begins at `position`, on a display that ends at `limit`.
std::uint32_t clipped(double ink, std::uint32_t position, std::uint32_t limit)
{
    if (position + ink > limit)
        return limit - position;
    return static_cast<std::uint32_t>(std::max(truncated(ink), 0));
}

bool is_continuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

struct point {
    double x = 0;
    double y = 0;
};

/// Gives the region the size of the text's ink. Returns the origin that puts the ink into its corner.
point shrink_to_text(region_format& format, const text_style& style, const subpicture& display_set)
{
    const auto ink = extents_of(style);
    format.width = clipped(ink.width, format.x, display_set.width);
    format.height = clipped(ink.height, format.y, display_set.height);
    return {.x = -ink.x_bearing, .y = -ink.y_bearing};
}

void show_text(cairo_t* context, const text_style& style, const point& origin)
{
    if (std::abs(style.font_size) > largest_font_size)
        return;
    set_colour(context, style.foreground);
    cairo_move_to(context, origin.x, origin.y);
    cairo_show_text(context, style.text.data());
}

} // namespace

void set_text(text_style& style, std::string_view text)
{
    constexpr std::size_t longest_character = 4;
    std::size_t length = std::min(text.size(), text_limit_bytes);
    if (length < text.size()) {
        std::size_t start = length; // of the character that the cut may go through
        while (start > length - (longest_character - 1) && is_continuation(text[start]))
            --start;
        if (!is_continuation(text[start]))
            length = start;
    }
    style.text.fill('\0');
    std::copy_n(text.begin(), length, style.text.begin());
}

void getRegionAttributes(region_format& format, const layout_region& region)
{
    format.width = static_cast<std::uint32_t>(region.width);
    format.height = static_cast<std::uint32_t>(region.height);
    format.x = static_cast<std::uint32_t>(region.x_pos);
    format.y = static_cast<std::uint32_t>(region.y_pos);
}

void getTextAttributes(text_style& style, const layout_region& region)
{
    style.background = colour_of(region.backgroundColor);
    style.foreground = colour_of(region.foregroundColor);
    style.font_size = region.size;
    style.font = region.font;
}

// Every text is drawn for itself, in the order of the articles and of their regions, and no drawing of a
// text is ever used again for another: a font keeps its state, and a very small text (7 pixels, say) changes
// how later ones are hinted. To leave out a text because it was drawn before would change them.

std::int32_t AddTextSubtitle(
    region_format* format, const text_style* style, subpicture* display_set, bool adjust)
{
    if (format == nullptr || style == nullptr || display_set == nullptr)
        return fail_drawing(EINVAL);
    if (is_too_long(*style))
        return fail_drawing(E2BIG);
    if (!is_on_display(*format, *display_set))
        return drawing_failed;

    const point origin =
        adjust ? shrink_to_text(*format, *style, *display_set) : point{.x = 0, .y = style->font_size};
    canvas drawn = new_canvas(*format);
    select_font(drawn.context.get(), style->font, style->font_size);
    fill(drawn.context.get(), *format, style->background);
    show_text(drawn.context.get(), *style, origin);
    return AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), *format, *display_set);
}

std::int32_t AddMultiTextSubtitle(
    const region_format* format, std::uint32_t count, const text_style* first, subpicture* display_set)
{
    if (format == nullptr || first == nullptr || display_set == nullptr)
        return fail_drawing(EINVAL);
    if (!is_on_display(*format, *display_set))
        return drawing_failed;

    canvas drawn = new_canvas(*format);
    fill(drawn.context.get(), *format, first->background);
    for (const auto* style = first; style != nullptr && count > 0; style = style->next, --count) {
        if (is_too_long(*style))
            continue;
        select_font(drawn.context.get(), style->font, style->font_size);
        show_text(drawn.context.get(), *style, {.x = style->x, .y = style->y});
    }
    return AddSurfaceRegion(std::move(drawn.surface), std::move(drawn.context), *format, *display_set);
}
