#pragma once

#include "canvas.h"
#include "layout.h"
#include "surface_region.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The longest text of a region, in bytes.
inline constexpr std::size_t text_limit_bytes = 256;

/// What a text is drawn with.
struct text_style {
    rgba background;                               ///< of the whole region
    rgba foreground;                               ///< of the text
    double font_size = 0;                          ///< in pixels
    const char* font = nullptr;                    ///< family name, borrowed
    double x = 0;                                  ///< start of the baseline in the region, in pixels;
    double y = 0;                                  ///< only in a region of several texts
    std::array<char, text_limit_bytes + 1> text{}; ///< UTF-8, terminated
    const text_style* next = nullptr;              ///< only in a region of several texts
};

/// Copies at most the first 256 bytes of a text, and no part of a UTF-8 character, into the style.
void set_text(text_style& style, std::string_view text);

/// Copies the size and position of a layout region. A negative one becomes a very large one.
void getRegionAttributes(region_format& format, const layout_region& region);

/// Copies the colours, the font size and the font of a layout region. The font stays the region's.
void getTextAttributes(text_style& style, const layout_region& region);

/// Draws one line of text on a filled background as a new region at the end of the display set. Its
/// baseline starts `font_size` pixels below the top left corner; what is beyond the region's edges is cut.
/// With `adjust` the region shrinks to the ink of the text, or to the display's right and bottom
/// border; the new size is written into the format. A text without ink then leaves the region out,
/// with a message. So does one that is measured in vain: text length x font size over 32767.
/// A style without a font, or a text that is no UTF-8, is no failure: nothing more is drawn from then
/// on. A text in a font size over 65535 is not drawn.
/// Fails without a message for a null argument; otherwise with the messages of `is_on_display` and
/// `AddSurfaceRegion` or with "Error: Text exceeds %d characters\n".
[[nodiscard]] std::int32_t AddTextSubtitle(
    region_format* format, const text_style* style, subpicture* display_set, bool adjust);

/// Draws up to `count` texts from `first` on, each in its own font, colour and place, into one new
/// region with the background of the first. A text that is too long is left out with a message.
/// Fails as `AddTextSubtitle`.
[[nodiscard]] std::int32_t AddMultiTextSubtitle(
    const region_format* format, std::uint32_t count, const text_style* first, subpicture* display_set);
