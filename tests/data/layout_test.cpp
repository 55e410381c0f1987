#include "layout.h"

#include "capture.h"
#include "file_handles.h"
#include "library_fakes.h"
#include "temporary.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace {

void free_regions(layout_region* region)
{
    while (region != nullptr) {
        layout_region* next = region->next;
        std::free(region->name);
        std::free(region->font);
        std::free(region);
        region = next;
    }
}

using owned_regions = std::unique_ptr<layout_region, releaser<free_regions>>;

/// One line per region, every field in the order of the record; colours as hexadecimal words.
std::string text_of(const layout_region* region)
{
    std::string text;
    for (; region != nullptr; region = region->next) {
        std::array<char, 256> line{};
        std::snprintf(line.data(), line.size(), "%s %dx%d+%d+%d %08X %08X %d %s %d%d\n",
            region->name == nullptr ? "-" : region->name, region->width, region->height, region->x_pos,
            region->y_pos, region->backgroundColor, region->foregroundColor, region->size,
            region->font == nullptr ? "-" : region->font, region->adjustRegionSize, region->keepRatio);
        text += line.data();
    }
    return text;
}

struct outcome {
    std::string regions;
    std::string messages;
};

outcome read_layout(std::string_view content)
{
    const temporary_folder folder;
    const auto path = write_file(folder, "layout.xml", content);
    owned_regions regions;
    outcome result;
    result.messages = stderr_of([&] { regions.reset(ParseXMLLayout(path.c_str())); });
    result.regions = text_of(regions.get());
    return result;
}

constexpr struct {
    const char* what;
    const char* content; ///< of the root element
    const char* regions;
    const char* messages;
} layouts[] = {
    {"no region", "text<regions/><Region name='a'/>", "", ""},
    {"nothing given", "<region name='a'/><region/>",
        "a 0x0+0+0 00000000 00000000 0 - 00\n- 0x0+0+0 00000000 00000000 0 - 00\n", ""},
    {"everything given",
        "<region name='model' x_pos='1' y_pos='2' width='3' height='4'>"
        "<text font='Sans' size='5' backgroundColor='80FF0000' foregroundColor='FFFFFFFF' "
        "adjustRegionSize='yes'/><image keepRatio='yes'/></region>",
        "model 3x4+1+2 80FF0000 FFFFFFFF 5 Sans 11\n", ""},
    {"the last of each",
        "<region name='a'><text font='A' size='1' adjustRegionSize='yes'/><image keepRatio='yes'/>"
        "<text font='B' size='2' adjustRegionSize='no'/><image keepRatio='no'/></region>",
        "a 0x0+0+0 00000000 00000000 2 B 00\n", ""},
    {"odd numbers", "<region width='12px' height=' +7' x_pos='-20' y_pos='px'><text size=''/></region>",
        "- 12x7+-20+0 00000000 00000000 0 - 00\n", ""},
    {"numbers that do not fit", "<region width='4294967297' height='99999999999999999999'/>",
        "- 1x-1+0+0 00000000 00000000 0 - 00\n", ""},
    {"flags in other words",
        "<region><text adjustRegionSize='Yes'/><image keepRatio='true'/></region>"
        "<region><text adjustRegionSize='yes '/><image keepRatio=''/></region>",
        "- 0x0+0+0 00000000 00000000 0 - 00\n- 0x0+0+0 00000000 00000000 0 - 00\n", ""},
    {"empty texts", "<region name=''><text font=''/></region>", " 0x0+0+0 00000000 00000000 0  00\n", ""},
    {"a region deeper", "<screen><region name='a'><text x='1'/><frame/></region></screen>", "", ""},
    {"a region in a region", "<region name='a'><region name='b'><text size='1'/></region></region>",
        "a 0x0+0+0 00000000 00000000 0 - 00\n",
        "Invalid tag inside elem region\nInvalid tag inside elem text\n"},
    {"texts outside a region", "<text size='1'/><region name='a'/><image keepRatio='yes'/>",
        "a 0x0+0+0 00000000 00000000 0 - 00\n", ""},
    {"an unknown element", "<region><frame><image keepRatio='yes'/></frame><text size='1'/></region>",
        "- 0x0+0+0 00000000 00000000 1 - 00\n",
        "Invalid tag inside elem frame\nInvalid tag inside elem image\n"},
    {"elements in text and image",
        "<region><text><image keepRatio='yes'/></text><image><text size='1'><b/></text></image>"
        "<text size='2'/></region>",
        "- 0x0+0+0 00000000 00000000 2 - 00\n",
        "Invalid parse status 15 in elemStart\nInvalid parse status 16 in elemStart\n"
        "Invalid parse status 16 in elemStart\n"},
    {"unknown attributes",
        "<region Name='a' size='1' width='2'><text colour='red' size='3' width='4'/><image "
        "font='A'/></region>",
        "- 2x0+0+0 00000000 00000000 3 - 00\n",
        "unknown attribut Name for element region\nunknown attribut size for element region\n"
        "unknown attribut colour for element text\nunknown attribut width for element text\n"
        "unknown attribut font for element image\n"},
};

TEST(LayoutFile, GivesItsRegions)
{
    for (const auto& [what, content, regions, messages] : layouts) {
        const auto result = read_layout("<layout>" + std::string(content) + "</layout>");
        EXPECT_EQ(result.regions, regions) << what;
        EXPECT_EQ(result.messages, messages) << what;
    }
}

constexpr struct {
    const char* text;
    std::uint32_t word;
} colours[] = {
    {"FF000000", 0xFF000000},
    {"80ff8000", 0x80FF8000},
    {" \n12345678", 0x12345678},
    {"ABCDEF0123", 0xABCDEF01},
    {"0x123456789", 0x123456},
    {"FF00 FF00", 0xFF00},
    {"C0FFEg", 0xC0FFE},
    {"red", 0x11111111},
    {"#FFFFFFFF", 0x11111111},
    {"", 0x11111111},
};

TEST(LayoutFile, GivesColourWords)
{
    for (const auto& [text, word] : colours) {
        const char* attributes[] = {"foregroundColor", text, nullptr};
        layout_region region{.foregroundColor = 0x11111111};
        layout_parser parser{.status = inside_region, .depth = 2, .head = &region, .current = &region};
        elemLayoutStart(&parser, "text", attributes);
        EXPECT_EQ(region.foregroundColor, word) << text;
    }
}

constexpr std::string_view sample = R"(<?xml version="1.0"?>
<layout>
  <region name="model" x_pos="40" y_pos="30" width="400" height="48">
    <text font="Sans" size="32" adjustRegionSize="yes"/>
  </region>
  <region name="brand" width="120"><image keepRatio="yes"/></region>
</layout>
)";

TEST(LayoutFile, MayBreakOffAnywhere)
{
    const std::size_t first = sample.find("48\">") + 4;
    const std::size_t text = sample.find("/>") + 2;
    const std::size_t second = sample.find("120\">") + 5;
    const std::size_t image = sample.find("/></region>") + 2;
    const std::size_t whole = sample.find("</layout>") + 9;
    for (std::size_t kept = 0; kept <= sample.size(); ++kept) {
        const auto result = read_layout(sample.substr(0, kept));
        std::string regions;
        if (kept >= first)
            regions = kept >= text ? "model 400x48+40+30 00000000 00000000 32 Sans 10\n"
                                   : "model 400x48+40+30 00000000 00000000 0 - 00\n";
        if (kept >= second)
            regions += kept >= image ? "brand 120x0+0+0 00000000 00000000 0 - 01\n"
                                     : "brand 120x0+0+0 00000000 00000000 0 - 00\n";
        EXPECT_EQ(result.regions, regions) << kept;
        EXPECT_EQ(result.messages, kept < whole ? "XML parsing failed\n" : "") << kept;
    }
}

TEST(LayoutFile, ThatCannotBeOpenedGivesNoRegion)
{
    layout_region* regions = nullptr;
    EXPECT_EQ(stderr_of([&] { regions = ParseXMLLayout("/missing/layout.xml"); }),
        "Cannot open /missing/layout.xml\n");
    EXPECT_EQ(regions, nullptr);
}

constexpr struct {
    const char* request;
    const char* regions;
    const char* messages;
} failed_requests[] = {
    {"buffer", "", "Cannot allocate memory\n"},
    {"parser", "", "Cannot allocate memory\n"},
    {"region", "b 0x0+0+0 00000000 00000000 0 - 00\n", "calloc allocate memory\n"},
    {"name", "- 1x0+0+0 00000000 00000000 2 B 00\nb 0x0+0+0 00000000 00000000 0 - 00\n",
        "Cannot allocate memory\n"},
    {"font", "a 1x0+0+0 00000000 00000000 2 B 00\nb 0x0+0+0 00000000 00000000 0 - 00\n",
        "Cannot allocate memory\n"},
    {"second font", "a 1x0+0+0 00000000 00000000 2 A 00\nb 0x0+0+0 00000000 00000000 0 - 00\n",
        "Cannot allocate memory\n"},
    {"second region", "a 1x0+0+0 00000000 00000000 2 B 00\n", "calloc allocate memory\n"},
};

TEST(LayoutFile, LacksOnlyWhatCouldNotBeAllocated)
{
    std::int32_t n = 0;
    for (const auto& [request, regions, messages] : failed_requests) {
        requests_until_failure = n++;
        const auto result =
            read_layout("<layout><region name='a' width='1'><text font='A' size='2'/><text font='B'/>"
                        "</region><region name='b'/></layout>");
        EXPECT_EQ(result.regions, regions) << request;
        EXPECT_EQ(result.messages, messages) << request;
    }
    requests_until_failure = -1;
}

TEST(LayoutRegion, IsFoundByItsExactName)
{
    char names[][8] = {"price", "Model", "model", "model"};
    layout_region last{.name = names[3]};
    layout_region found{.name = names[2], .next = &last};
    layout_region other{.name = names[1], .next = &found};
    layout_region nameless{.next = &other};
    layout_region head{.name = names[0], .next = &nameless};
    EXPECT_EQ(getRegionByName(&head, "model"), &found);
    EXPECT_EQ(getRegionByName(&head, "price"), &head);
    for (const char* name : {"", "mode", "models", "brand"})
        EXPECT_EQ(getRegionByName(&head, name), nullptr) << name;
    EXPECT_EQ(getRegionByName(&head, nullptr), nullptr);
    EXPECT_EQ(getRegionByName(nullptr, "model"), nullptr);
}

} // namespace
