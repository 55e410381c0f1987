#include "banner.h"
#include "display_set.h"
#include "image.h"
#include "input.h"
#include "memory_failures.h"
#include "memory_file.h"
#include "page_check.h"
#include "png_file.h"
#include "sanitizer_options.h"
#include "temporary.h"
#include "text_region.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

constexpr int operations_max = 6;
constexpr std::size_t pixels_to_encode_max = 1U << 16;

using bytes_left = std::span<const std::uint8_t>;

/// A text of the input, or null.
struct optional_text {
    bool present = false;
    std::string text;

    [[nodiscard]] const char* get() const
    {
        return present ? text.c_str() : nullptr;
    }
};

optional_text take_text(bytes_left& input)
{
    const std::uint32_t size = take_u8(input);
    return {.present = size != 0, .text = std::string(text_of(take_bytes(input, size)))};
}

layout_region take_box(bytes_left& input)
{
    layout_region region;
    region.x_pos = take_s16(input);
    region.y_pos = take_s16(input);
    region.width = take_s16(input);
    region.height = take_s16(input);
    return region;
}

region_format format_of(const layout_region& region)
{
    region_format format{.chroma = chroma_yuva, .bits_per_pixel = 32};
    getRegionAttributes(format, region);
    return format;
}

bool is_continuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

/// Looks at what `set_text` keeps, too: the front of the text, cut before a whole character of UTF-8.
void take_style_text(text_style& style, bytes_left& input)
{
    constexpr std::uint32_t unterminated = 0xFFFF;
    const std::uint32_t size = take_u16(input);
    const std::string_view text = text_of(take_bytes(input, size));
    if (size == unterminated) {
        style.text.fill('x');
        return;
    }
    set_text(style, text);
    const std::string_view kept(style.text.data());
    require(text.starts_with(kept) && kept.size() <= text_limit_bytes);
    const std::string_view whole = text.substr(0, text.find('\0'));
    if (kept.size() < whole.size() && kept.size() < text_limit_bytes)
        require(!is_continuation(text[kept.size()]) && kept.size() + 4 >= text_limit_bytes);
}

void take_style(text_style& style, optional_text& font, bytes_left& input)
{
    layout_region look;
    look.foregroundColor = take_u32(input);
    look.backgroundColor = take_u32(input);
    look.size = static_cast<std::int32_t>(take_u32(input));
    font = take_text(input);
    getTextAttributes(style, look);
    style.font = font.get();
    style.x = take_s16(input);
    style.y = take_s16(input);
    take_style_text(style, input);
}

std::int32_t draw_text(subpicture& page, bytes_left& input)
{
    region_format format = format_of(take_box(input));
    const bool adjust = take_u8(input) != 0;
    text_style style;
    optional_text font;
    take_style(style, font, input);
    const std::int32_t result = AddTextSubtitle(&format, &style, &page, adjust);
    if (std::ranges::find(style.text, '\0') == style.text.end())
        require(result == drawing_failed);
    if (adjust && result == drawing_done)
        require(format.x + format.width <= page.width && format.y + format.height <= page.height);
    return result;
}

std::int32_t draw_texts(subpicture& page, bytes_left& input)
{
    const region_format format = format_of(take_box(input));
    const std::uint32_t count = take_u8(input);
    std::array<text_style, 3> styles;
    std::array<optional_text, 3> fonts;
    for (std::size_t i = 0; i < styles.size(); ++i) {
        take_style(styles[i], fonts[i], input);
        styles[i].next = i + 1 < styles.size() ? &styles[i + 1] : nullptr;
    }
    return AddMultiTextSubtitle(&format, count, styles.data(), &page);
}

/// A PNG file, often a broken one.
const memory_file& take_picture(bytes_left& input)
{
    static const memory_file file = new_memory_file();
    const bool mend = take_u8(input) != 0;
    const auto bytes = take_bytes(input, take_u16(input));
    fill(file, mend ? with_checksums(bytes) : text_of(bytes));
    return file;
}

std::int32_t draw_image(subpicture& page, bytes_left& input)
{
    region_format format = format_of(take_box(input));
    const bool keep_ratio = take_u8(input) != 0;
    return AddImageSubtitle(&format, take_picture(input).path.c_str(), &page, keep_ratio, nullptr);
}

/// A folder in which every icon is the picture of the input.
std::string folder_of(const memory_file& picture)
{
    static const temporary_folder folder;
    static const bool filled = [&] {
        for (const char* icon : {"led", "size", "hdready", "tunerhd", "hdmi", "usb", "3dready"})
            std::filesystem::create_symlink(picture.path, folder.path / (std::string(icon) + ".png"));
        return true;
    }();
    require(filled);
    return folder.path.string() + "/";
}

std::int32_t draw_banner(subpicture& page, bytes_left& input)
{
    const region_format format = format_of(take_box(input));
    const std::uint32_t flags = take_u8(input);
    std::array<optional_text, 5> texts;
    for (auto& text : texts)
        text = take_text(input);
    item article{.tuner_hd = static_cast<std::uint8_t>(flags & 1),
        .threeD_ready = static_cast<std::uint8_t>(flags & 2)};
    constexpr char* item::*members[] = {&item::type, &item::size, &item::hd, &item::hdmi, &item::usb};
    for (std::size_t i = 0; i < texts.size(); ++i)
        article.*members[i] = texts[i].present ? texts[i].text.data() : nullptr;
    const std::string icons = (flags & 4) != 0 ? folder_of(take_picture(input)) : SAMPLE_ICONS;
    return BuildFeaturesBanner(&format, &article, &page, {.folder = icons});
}

std::size_t count_of(const subpicture& page)
{
    std::size_t count = 0;
    for (const auto* region = page.regions; region != nullptr; region = region->next)
        ++count;
    return count;
}

/// A failed operation adds no region; one that did its work adds one at most.
void draw(subpicture& page, bytes_left& input)
{
    constexpr std::int32_t (*operations[])(subpicture&, bytes_left&) = {
        draw_text, draw_texts, draw_image, draw_banner};
    for (int n = 0; n < operations_max && !input.empty(); ++n) {
        const std::size_t before = count_of(page);
        const std::int32_t result = operations[take_u8(input) % std::size(operations)](page, input);
        require(result == drawing_done || result == drawing_failed);
        require(count_of(page) - before <= (result == drawing_done ? 1 : 0));
    }
}

void run(bytes_left input)
{
    const std::uint32_t width = take_u8(input);
    const std::uint32_t height = take_u8(input);
    const owned_subpicture page(subpicture_New(1, width, height));
    if (!page)
        return;
    draw(*page, input);
    if (pixels_of(*page) <= pixels_to_encode_max)
        encode_and_check(*page);
}

} // namespace

/// Whether requests for memory fail, the display's width and height, then drawing operations: see `draw`.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    bytes_left input(bytes, size);
    const bool fail = take_u8(input) == 1 && size <= failing_input_max_bytes;
    with_each_request_failing(fail, [&] { run(input); });
    forget_fonts();
    return 0;
}
