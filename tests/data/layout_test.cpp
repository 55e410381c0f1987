#include "layout.h"

#include "capture.h"
#include "temporary.h"

#include <array>
#include <gtest/gtest.h>

namespace {

/// One line per region, every field in the order of the record, colours as hexadecimal words; they are freed.
std::string take_text(layout_region* regions)
{
    std::string text;
    for (const auto* region = regions; region != nullptr; region = region->next) {
        const auto& [name, w, h, x, y, background, foreground, size, font, adjust, ratio, next] = *region;
        std::array<char, 256> line{};
        std::snprintf(line.data(), line.size(), "%s %dx%d+%d+%d %08X %08X %d %s %d%d\n", name ? name : "-", w,
            h, x, y, background, foreground, size, font ? font : "-", adjust, ratio);
        text += line.data();
    }
    free_layout(regions);
    return text;
}

/// The messages and regions that a layout file with that root element gives.
std::string read_layout(std::string_view content)
{
    const temporary_folder folder;
    const auto path = write_file(folder, "layout.xml", content);
    layout_region* regions = nullptr;
    const auto messages = stderr_of([&] { regions = ParseXMLLayout(path.c_str()); });
    return messages + take_text(regions);
}

constexpr struct {
    const char* what;
    const char* content; ///< of the root element
    const char* outcome;
} layouts[] = {
    {"no region below the root", "text<regions/><screen><region><text x='1'/><frame/></region></screen>", ""},
    {"everything given",
        "<region name='model' x_pos='1' y_pos='2' width='3' height='4'>"
        "<text font='Sans' size='5' backgroundColor='80FF0000' foregroundColor='FFffFFFF' "
        "adjustRegionSize='yes'/><image keepRatio='yes'/></region>",
        "model 3x4+1+2 80FF0000 FFFFFFFF 5 Sans 11\n"},
    {"the last of each",
        "<region><text font='A' size='1' adjustRegionSize='yes'/><image keepRatio='yes'/>"
        "<text font='B' size='2' adjustRegionSize='Yes'/><image keepRatio='yes '/></region>",
        "- 0x0+0+0 00000000 00000000 2 B 00\n"},
    {"odd numbers and colours",
        "<region width='12px' height=' +7' x_pos='-20'><text size='1' foregroundColor='ABCDEF0123'/>"
        "<text size='' foregroundColor='red' backgroundColor=' 0x123456789'/></region>",
        "- 12x7+-20+0 00123456 ABCDEF01 1 - 00\n"},
    {"a region in a region", "<region name='a'><region name='b'><text size='1'/></region></region><region/>",
        "Invalid tag inside elem region\nInvalid tag inside elem text\n"
        "a 0x0+0+0 00000000 00000000 0 - 00\n- 0x0+0+0 00000000 00000000 0 - 00\n"},
    {"elements in text and image",
        "<region><text><image keepRatio='yes'/></text><image><b/></image><text size='2'/></region>",
        "Invalid parse status 15 in elemStart\nInvalid parse status 16 in elemStart\n"
        "- 0x0+0+0 00000000 00000000 2 - 00\n"},
    {"unknown attributes",
        "<region Name='a' width='2'><text colour='red' size='3'/><image font='A'/></region>",
        "unknown attribut Name for element region\nunknown attribut colour for element text\n"
        "unknown attribut font for element image\n- 2x0+0+0 00000000 00000000 3 - 00\n"},
};

TEST(LayoutFile, GivesItsRegions)
{
    for (const auto& [what, content, outcome] : layouts)
        EXPECT_EQ(read_layout("<layout>" + std::string(content) + "</layout>"), outcome) << what;
}

TEST(LayoutRegion, IsFoundByItsExactName)
{
    char price[] = "price";
    char model[] = "model";
    layout_region last{.name = model};
    layout_region found{.name = model, .next = &last};
    layout_region nameless{.next = &found};
    layout_region head{.name = price, .next = &nameless};
    EXPECT_EQ(getRegionByName(&head, "model"), &found);
    for (const char* name : {"", "mode", "models", "Model", static_cast<const char*>(nullptr)})
        EXPECT_EQ(getRegionByName(&head, name), nullptr);
}

} // namespace
