#include "random_shop.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <memory>
#include <png.h>
#include <random>
#include <span>

namespace {

using random_numbers = std::mt19937_64;

unsigned below(random_numbers& numbers, unsigned limit)
{
    return static_cast<unsigned>(numbers() % limit);
}

bool once_in(random_numbers& numbers, unsigned times)
{
    return below(numbers, times) == 0;
}

const char* one_of(random_numbers& numbers, std::span<const char* const> texts)
{
    return texts[below(numbers, static_cast<unsigned>(texts.size()))];
}

// Pictures

struct png_kind {
    int colour_type;
    int bit_depths[3];
};

constexpr png_kind png_kinds[] = {
    {PNG_COLOR_TYPE_GRAY, {1, 4, 16}},
    {PNG_COLOR_TYPE_RGB, {8, 8, 16}},
    {PNG_COLOR_TYPE_PALETTE, {1, 4, 8}},
    {PNG_COLOR_TYPE_GRAY_ALPHA, {8, 8, 16}},
    {PNG_COLOR_TYPE_RGB_ALPHA, {8, 8, 16}},
};

/// Noise, or bytes that repeat, so that neighbours are alike.
std::vector<png_byte> random_bytes(random_numbers& numbers, std::size_t count)
{
    std::vector<png_byte> bytes(count);
    const unsigned repeated = 1 + below(numbers, 60);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = i % repeated == 0 ? static_cast<png_byte>(numbers()) : bytes[i - 1];
    return bytes;
}

void set_palette(random_numbers& numbers, png_structp png, png_infop info, int bit_depth)
{
    std::array<png_color, 256> colours{};
    std::array<png_byte, 256> opacity{};
    for (std::size_t i = 0; i < colours.size(); ++i) {
        colours[i] = {.red = static_cast<png_byte>(numbers()), .green = static_cast<png_byte>(i), .blue = 80};
        opacity[i] = once_in(numbers, 2) ? 255 : static_cast<png_byte>(numbers());
    }
    png_set_PLTE(png, info, colours.data(), 1 << bit_depth);
    png_set_tRNS(png, info, opacity.data(), 1 << bit_depth, nullptr);
}

void write_picture(random_numbers& numbers, const std::string& path)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    const unsigned width = 1 + below(numbers, 180);
    const unsigned height = once_in(numbers, 2) ? 48 : 1 + below(numbers, 140);
    const png_kind& kind = png_kinds[below(numbers, std::size(png_kinds))];
    const int bit_depth = kind.bit_depths[below(numbers, 3)];
    const bool interlaced = once_in(numbers, 4);
    png_init_io(png, file.get());
    png_set_compression_level(png, 1);
    png_set_IHDR(png, info, width, height, bit_depth, kind.colour_type,
        interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
        PNG_FILTER_TYPE_DEFAULT);
    if (kind.colour_type == PNG_COLOR_TYPE_PALETTE)
        set_palette(numbers, png, info, bit_depth);
    png_write_info(png, info);
    const std::size_t row_bytes = png_get_rowbytes(png, info);
    std::vector<png_byte> pixels = random_bytes(numbers, row_bytes * height);
    std::vector<png_bytep> rows(height);
    for (std::size_t line = 0; line < height; ++line)
        rows[line] = &pixels[line * row_bytes];
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
}

constexpr const char* picture_names[] = {"led", "oled", "size", "hdready", "fullhd", "tunerhd", "hdmi", "usb",
    "3dready", "norvane", "kilduna", "ovrelle"};

/// Changes a byte, which may spoil the file, or cuts it off.
void damage(random_numbers& numbers, const temporary_folder& folder, const std::string& name)
{
    std::string content = read_file(folder.path / name);
    if (content.empty())
        return;
    const auto place = static_cast<std::size_t>(numbers() % content.size());
    if (once_in(numbers, 2))
        content[place] = static_cast<char>(numbers());
    else
        content.resize(place);
    write_file(folder, name, content);
}

/// Icons and logos: some the same file as another, some nearly the same, some broken, some not there.
void write_pictures(random_numbers& numbers, const temporary_folder& folder)
{
    for (const char* const name : picture_names) {
        const std::string file = std::string(name) + ".png";
        const std::string other = std::string(one_of(numbers, picture_names)) + ".png";
        const bool there = exists(folder.path / other) && !exists(folder.path / file);
        if (once_in(numbers, 40))
            continue;
        if (there && once_in(numbers, 6))
            create_hard_link(folder.path / other, folder.path / file);
        else if (there && once_in(numbers, 6))
            create_symlink(folder.path / other, folder.path / file);
        else if (there && once_in(numbers, 6))
            write_file(folder, file, read_file(folder.path / other));
        else
            write_picture(numbers, (folder.path / file).string());
        if (once_in(numbers, 40))
            damage(numbers, folder, file);
    }
}

// Articles and layout

struct field {
    const char* name;
    std::vector<const char*> texts;
};

const field fields[] = {
    {"ovu", {"tv-1", "tv-1", "tv-1", "tv-1", "tv-1", "tv-1", "tv-2", "tv-1 "}},
    {"channel", {"1", "2", "21", " 9 ", "999", "-1", "70000", "x"}},
    {"brand", {"Norvane", "Kilduna", "OVRELLE", "Nobody", "N", "Norvane &amp; Co"}},
    {"model",
        {"A", "Alpha 40", "Alpha 41", "Beta\n60", "B &#8364;", "i", "WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW"}},
    {"price", {"199 €", "199 €", "1 299,00 €", "9", "   ", "\xC3\xA9"}},
    {"warranty", {"2 years", "Warranty 5 years, parts and labour", "2 years"}},
    {"type", {"LED", "oled", "Plasma", "LED"}},
    {"size", {"32\"", "80 cm (32\")", "60"}},
    {"hd", {"HDready", "FullHD", "none"}},
    {"tuner", {"HD", "hd", "SD"}},
    {"hdmi", {"0", "1", "2", "3"}},
    {"usb", {"0", "1", "2", "11"}},
    {"threeD", {"Ready", "READY", "no"}},
    {"other", {"x", "<b/>"}},
};

std::string random_article(random_numbers& numbers, unsigned fields_left_out)
{
    std::string text =
        once_in(numbers, 30) ? "<article>" : "<article code='" + std::to_string(below(numbers, 12)) + "'>";
    for (const auto& [name, texts] : fields)
        if (!once_in(numbers, fields_left_out))
            text += std::string("<") + name + ">" + one_of(numbers, texts) + "</" + name + ">";
    return text + "</article>\n";
}

std::string random_articles(random_numbers& numbers, unsigned count, unsigned fields_left_out)
{
    std::string text = "<list>";
    std::vector<std::string> articles;
    for (unsigned i = 0; i < count; ++i) {
        const bool again = !articles.empty() && once_in(numbers, 4); // a screen that was coded before
        articles.push_back(again ? articles[below(numbers, i)] : random_article(numbers, fields_left_out));
        text += articles.back();
    }
    return text + "</list>";
}

std::string number(const char* name, std::int64_t value)
{
    return std::string(" ") + name + "='" + std::to_string(value) + "'";
}

std::string random_region(random_numbers& numbers, const char* name)
{
    static constexpr const char* colours[] = {
        "FF000000", "FFFFFFFF", "80FF0000", "00FFFFFF", "E60F1B2D", "FF00FF", "7F010203"};
    static constexpr const char* fonts[] = {
        "Liberation Sans", "Liberation Sans", "Liberation Serif", "DejaVu Sans", "None"};
    static constexpr const char* answers[] = {"yes", "no"};
    const int beyond = once_in(numbers, 25) ? 700 : 0;
    std::string text = std::string("<region name='") + name + "'"
        + number("x_pos", beyond + below(numbers, 500)) + number("y_pos", beyond + below(numbers, 520))
        + number("width", below(numbers, 400)) + number("height", below(numbers, 120)) + ">";
    if (!once_in(numbers, 12))
        text += "<text"
            + (once_in(numbers, 12) ? std::string() : std::string(" font='") + one_of(numbers, fonts) + "'")
            + number("size", static_cast<std::int64_t>(below(numbers, 60)) - 2) + " foregroundColor='"
            + one_of(numbers, colours) + "' backgroundColor='" + one_of(numbers, colours)
            + "' adjustRegionSize='" + one_of(numbers, answers) + "'/>";
    return text + "<image keepRatio='" + one_of(numbers, answers) + "'/></region>\n";
}

std::string random_layout(random_numbers& numbers)
{
    std::string text = "<layout>";
    for (const char* const name : {"model", "price", "brand", "warranty", "price"})
        if (!once_in(numbers, 8))
            text += random_region(numbers, name);
    return text + "</layout>";
}

void write_lists(random_numbers& numbers, const temporary_folder& folder)
{
    const unsigned articles = once_in(numbers, 15) ? 45 : 1 + below(numbers, 8);
    write_file(folder, "infostv.xml", random_articles(numbers, articles, 12));
    write_file(folder, "referencieltv.xml", random_articles(numbers, below(numbers, 12), 2));
    write_file(folder, "layout.xml", random_layout(numbers));
    for (const char* const name : {"infostv.xml", "referencieltv.xml", "layout.xml"})
        if (once_in(numbers, 15))
            damage(numbers, folder, name);
}

// Settings and faults

const field settings[] = {
    {"PREF_SYSTEM_ENCODER_1_SERVICE_ID", {"1", "65500", "-7", "x"}},
    {"PREF_SYSTEM_ENCODER_1_TS_ID", {"1", "70000"}},
    {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", {"1", " 12"}},
    {"PREF_SYSTEM_ENCODER_1_NETWORK_NAME", {"Net", "A network with a very long name indeed"}},
    {"PREF_SYSTEM_ENCODER_1_NIT_VERSION", {"1", "31", "32"}},
    {"PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE", {"true", "false"}},
    {"PREF_SYSTEM_ENCODER_1_LCN", {"7", "1023", "1024"}},
    {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", {"S", "A service with a very long name indeed"}},
    {"PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", {"", "P"}},
    {"PREF_SYSTEM_ENCODER_1_VIDEO_FRAMERATE", {"25", "30", "50"}},
    {"PREF_SYSTEM_ENCODER_1_VIDEO_CODEC", {"H264", "MPEG2"}},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_ENABLED", {"true", "false"}},
    {"PREF_SYSTEM_ENCODER_1_AUDIO_CODEC", {"MPEG4 AAC-LC", "MPEG1 L2"}},
};

const field faults[] = {
    {"--fail", {"any:300", "write-block:90", "write-word:40+", "read-byte:25"}},
    {"--stuck-slot", {"0", "1"}},
    {"--no-acknowledge", {"0", "1"}},
    {"--generation", {"2", "none"}},
    {"--packet-rate", {"60", "100000"}},
};

} // namespace

run_request random_shop(const temporary_folder& folder, std::uint64_t seed)
{
    random_numbers numbers(seed);
    write_pictures(numbers, folder);
    write_lists(numbers, folder);
    run_request request{
        .options = {"--duration", "1", "--bus-clock", "0", "--resources", folder.path.string()},
        .settings = {
            {"PREF_SYSTEM_NETWORK_HOSTNAME", "tv-1"}, {"PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true"}}};
    for (const auto& [name, values] : settings)
        if (once_in(numbers, 2))
            request.settings.emplace_back(name, one_of(numbers, values));
    const field& fault = faults[below(numbers, std::size(faults))];
    if (once_in(numbers, 4))
        request.options.insert(request.options.end(), {fault.name, one_of(numbers, fault.texts)});
    return request;
}
