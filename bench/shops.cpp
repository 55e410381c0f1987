#include "shops.h"

#include "pictures.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

constexpr int brands = 6;
constexpr int feature_sets = 8;

struct icon_file {
    const char* name = "";
    badge drawn;
};

// A label that the daemon writes finds room above or beside these words.
constexpr icon_file icon_files[] = {
    {.name = "led", .drawn = {.label = "LED", .top = {.9, .2, .15, 1}, .bottom = {.5, .05, .1, 1}}},
    {.name = "oled", .drawn = {.label = "OLED", .top = {.7, .1, .5, 1}, .bottom = {.3, .05, .3, 1}}},
    {.name = "size", .drawn = {.label = "", .top = {.95, .95, .9, 1}, .bottom = {.6, .65, .7, 1}}},
    {.name = "fullhd", .drawn = {.label = "Full", .top = {.1, .35, .8, 1}, .bottom = {.05, .12, .35, 1}}},
    {.name = "ultrahd", .drawn = {.label = "4K", .top = {.1, .6, .8, 1}, .bottom = {.05, .3, .35, 1}}},
    {.name = "tunerhd", .drawn = {.label = "HD", .top = {.15, .6, .3, 1}, .bottom = {.05, .3, .2, 1}}},
    {.name = "hdmi", .drawn = {.label = "H", .top = {.98, .75, .1, 1}, .bottom = {.8, .4, .05, 1}}},
    {.name = "usb", .drawn = {.label = "U", .top = {.5, .5, .55, 1}, .bottom = {.15, .15, .2, 1}}},
    {.name = "3dready", .drawn = {.label = "3D", .top = {.55, .2, .7, 1}, .bottom = {.1, .5, .7, 1}}},
};

constexpr const char* layout_text = R"(<layout>
<region name="brand" x_pos="36" y_pos="422" width="160" height="48"><image keepRatio="yes"/></region>
<region name="model" x_pos="36" y_pos="470" width="336" height="46">
<text font="Liberation Sans" size="36" foregroundColor="FFFFFFFF" backgroundColor="E60F1B2D"/></region>
<region name="price" x_pos="372" y_pos="447" width="220" height="69">
<text font="Liberation Sans" size="54" foregroundColor="FF101820" backgroundColor="FFFFC20E"/></region>
<region name="warranty" x_pos="36" y_pos="516" width="556" height="32">
<text font="Liberation Sans" size="24" foregroundColor="FFE8EEF6" backgroundColor="E6274060"/></region>
</layout>
)";

void require(bool done, const std::string& path)
{
    if (done)
        return;
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    std::exit(1);
}

void write_text_file(const std::string& path, const std::string& text)
{
    std::ofstream file(path);
    file << text;
    file.close();
    require(file.good(), path);
}

void write_picture(const std::string& path, const canvas& drawn)
{
    require(cairo_surface_write_to_png(drawn.surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS, path);
}

void write_icons(const std::string& folder)
{
    for (const icon_file& icon : icon_files) {
        const canvas drawn = new_canvas(icon_width, icon_height);
        draw_icon(drawn.context.get(), icon.drawn);
        write_picture(folder + icon.name + ".png", drawn);
    }
}

std::string brand(int number)
{
    return "maker-" + std::to_string(number);
}

void write_logos(const std::string& folder, int count)
{
    for (int i = 0; i < count; ++i) {
        const double hue = static_cast<double>(i) / count;
        const canvas drawn = new_canvas(logo_width, logo_height);
        draw_logo(drawn.context.get(),
            {.label = brand(i).c_str(), .top = {hue, .5, 1 - hue, 1}, .bottom = {hue / 2, .1, .4, 1}});
        write_picture(folder + brand(i) + ".png", drawn);
    }
}

std::string field(const char* name, const std::string& text)
{
    return std::string("<") + name + ">" + text + "</" + name + ">";
}

/// Article `i`, the texts on its left taken from `text`, its brand and its features given by number.
std::string article(int i, int text, int maker, int features)
{
    return "<article code=\"A" + std::to_string(i) + "\">" + field("ovu", "shop-tv-1")
        + field("channel", std::to_string(i + 1)) + field("brand", brand(maker))
        + field("model", " Window " + std::to_string(1000 + 37 * i))
        + field("price", " " + std::to_string(199 + 10 * text) + " €")
        + field("warranty", " Warranty " + std::to_string(1 + text) + " years, parts and labour")
        + field("type", features % 2 == 0 ? "LED" : "OLED")
        + field("size", std::to_string(24 + features) + "\"")
        + field("hd", features % 4 < 2 ? "FullHD" : "UltraHD")
        + field("tuner", features % 3 == 0 ? "SD" : "HD") + field("hdmi", std::to_string(1 + features % 4))
        + field("usb", std::to_string(features % 3)) + field("threeD", features % 5 == 0 ? "Ready" : "None")
        + "</article>\n";
}

} // namespace

void write_shop(const std::string& folder, shop_kind kind, int articles)
{
    const bool shared = kind == shop_kind::shared;
    write_icons(folder);
    write_logos(folder, shared ? brands : articles);
    std::string list;
    for (int i = 0; i < articles; ++i)
        list += shared ? article(i, i % 5, i % brands, i % feature_sets) : article(i, i, i, i);
    write_text_file(folder + "infostv.xml", field("infostv", list));
    write_text_file(folder + "referencieltv.xml", field("referencieltv", ""));
    write_text_file(folder + "layout.xml", layout_text);
}
