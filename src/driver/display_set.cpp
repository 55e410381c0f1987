#include "display_set.h"

#include "text_region.h"

#include <cstdio>

namespace {

constexpr std::uint16_t page_id = 1;
constexpr std::uint32_t bits_per_pixel = 32;
constexpr const char* cannot_add_subtitle = "cannot add subtitle";

/// One display set on the way, and what is used again for each of its regions.
struct drawing {
    const layout_region* layout = nullptr;
    const image_source& images;
    subpicture* display_set = nullptr;
    region_format format{.chroma = chroma_yuva, .bits_per_pixel = bits_per_pixel};
    text_style style{};
};

/// The result of a drawing operation as a truth, its failure reported.
bool reported(std::int32_t result, const char* message)
{
    if (result != 0)
        std::perror(message);
    return result == 0;
}

bool draw_text(drawing& page, const layout_region& region, const char* text)
{
    getRegionAttributes(page.format, region);
    getTextAttributes(page.style, region);
    set_text(page.style, text);
    return reported(AddTextSubtitle(&page.format, &page.style, page.display_set, region.adjustRegionSize),
        cannot_add_subtitle);
}

bool draw_named_text(drawing& page, const char* name, const char* text)
{
    const layout_region* const region = getRegionByName(page.layout, name);
    return region == nullptr || text == nullptr || draw_text(page, *region, text);
}

bool draw_brand(drawing& page, const item& article)
{
    const layout_region* const region = getRegionByName(page.layout, "brand");
    if (region == nullptr || article.logo == nullptr)
        return draw_named_text(page, "brand", article.brand);
    getRegionAttributes(page.format, *region);
    return reported(
        AddImageSubtitle(&page.format, article.logo, page.display_set, region->keepRatio, page.images.cache),
        "cannot add image");
}

bool draw_banner(drawing& page, const item& article)
{
    page.format.width = banner_box.width;
    page.format.height = banner_box.height;
    page.format.x = banner_box.x;
    page.format.y = banner_box.y;
    return reported(
        BuildFeaturesBanner(&page.format, &article, page.display_set, page.images), cannot_add_subtitle);
}

} // namespace

owned_subpicture draw_article(const item& article, const layout_region* layout, const image_source& images)
{
    owned_subpicture display_set(subpicture_New(page_id, display_width, display_height));
    if (!display_set) {
        std::perror("cannot create Display Set\n");
        return nullptr;
    }
    drawing page{.layout = layout, .images = images, .display_set = display_set.get()};
    const bool drawn = draw_named_text(page, "model", article.model)
        && draw_named_text(page, "price", article.price) && draw_brand(page, article)
        && draw_banner(page, article) && draw_named_text(page, "warranty", article.warranty);
    return drawn ? std::move(display_set) : nullptr;
}
