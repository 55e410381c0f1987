#include "shop_files.h"
#include "subtitle_decoder.h"
#include "ts_reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <set>
#include <sstream>

// What independent decoders make of the subtitles of the sample shop.

namespace {

constexpr int services = 8;
constexpr std::size_t pes_header_size = 14;

struct sample_stream {
    temporary_folder folder{};
    std::string path = (folder.path / "stream.ts").string();
    std::map<int, byte_string> display_sets{}; ///< PES_data_fields of the PIDs
    std::map<int, byte_string> refreshes{};
};

void send_sample_shop(sample_stream& sample)
{
    copy_sample_shop(sample.folder);
    const run_result result = run_daemon_emulated(
        shop_run(sample.folder, {"--duration", "30", "--bus-clock", "400000"}), sample.path);
    ASSERT_EQ(result.emulator_status, 0) << result.summary << result.errors;
    for (const ts_unit& pes : read_stream(sample.path).pes_packets) {
        const byte_string field(pes.bytes.begin() + pes_header_size, pes.bytes.end());
        (decode_display_set(field).state == 0 ? sample.refreshes : sample.display_sets)[pes.pid] = field;
    }
    ASSERT_EQ(sample.display_sets.size(), services);
    ASSERT_EQ(sample.refreshes.size(), services);
}

using field_list = std::initializer_list<std::pair<const char*, std::size_t>>;

std::string listed(const field_list& fields)
{
    std::string text;
    for (const auto& [name, value] : fields)
        text += std::string(name) + ": " + std::to_string(value) + "\n";
    return text;
}

std::string list_page(const decoded_page& page)
{
    std::string text = "page_composition_segment\n" + listed({{"page_time_out", 250}});
    text += page.state == 2 ? "page_version_number: 0\npage_state: 2 (mode change)\nreserved: 0\n"
                            : "page_version_number: 1\npage_state: 0 (normal)\nreserved: 0\n";
    for (std::size_t i = 0; i < page.regions.size(); ++i)
        text += listed({{"region_id", i}, {"reserved", 0}, {"region_horizontal_address", page.regions[i].x},
            {"region_vertical_address", page.regions[i].y}});
    return text;
}

std::string list_region(const decoded_region& region, std::size_t i)
{
    const auto transparent = std::find_if(region.colours.begin(), region.colours.end(),
        [](const clut_colour& colour) { return colour.t == 255; });
    const auto fill = static_cast<std::size_t>(transparent - region.colours.begin());
    return "region_composition_segment\n"
        + listed({{"region_id", i}, {"region_version_number", i}, {"region_fill_flag", fill < 16 ? 1 : 0},
            {"reserved", 0}, {"region_width", region.width}, {"region_height", region.height},
            {"region_level_of_complexity", 2}, {"region_depth", 2}, {"reserved", 0}, {"CLUT_id", i + 1},
            {"region_8-bit_pixel_code", fill}, {"region_4-bit_pixel_code", fill % 16},
            {"region_2-bit_pixel_code", fill % 4}, {"reserved", 0}, {"object_id", i}, {"object_type", 0},
            {"object_provider_flag", 0}, {"object_horizontal_position", 0}, {"reserved", 0},
            {"object_vertical_position", 0}});
}

std::string list_clut(const decoded_region& region, std::size_t i)
{
    std::string text = "CLUT definition_segment\n"
        + listed({{"CLUT_id", i + 1}, {"CLUT_version_number", i}, {"reserved", 0}});
    for (std::size_t entry = 0; entry < 16; ++entry) {
        const clut_colour& colour = region.colours[entry];
        text += listed({{"CLUT_entry_id", entry}, {"2-bit/entry_CLUT_flag", 0}, {"4-bit/entry_CLUT_flag", 1},
                    {"8-bit/entry_CLUT_flag", 0}, {"reserved", 0}})
            + "full_range_flag: 0x1\n"
            + listed({{"Y-value", colour.y}, {"Cr-value", colour.cr}, {"Cb-value", colour.cb},
                {"T-value", colour.t}});
    }
    return text;
}

std::string list_object(const subtitle_segment& segment, std::size_t i, std::size_t regions)
{
    const auto& data = segment.data;
    return "object_data_segment\n"
        + listed({{"object_id", i}, {"object_version_number", regions + i}, {"object_coding_method", 0},
            {"non_modifying_colour_flag", 0}, {"reserved", 0},
            {"top_field_data_block_length", static_cast<std::size_t>(data[3] << 8 | data[4])},
            {"bottom_field_data_block_length", static_cast<std::size_t>(data[5] << 8 | data[6])}})
        + (read_object(data).stuffing_bytes == 1 ? "8_stuff_bits: 0\n" : "");
}

/// What tsdvbsub prints of a PES_data_field: sizes and colours as the field has them, the rest as it must be.
std::string expected_listing(const byte_string& field)
{
    const decoded_page page = decode_display_set(field);
    EXPECT_THAT(page.problems, testing::IsEmpty());
    std::map<std::uint32_t, std::size_t> count; // of the segments of each type
    std::ostringstream text;
    text << "data_identifier: 0x20\nsubtitle_stream_id: 0\n";
    for (const subtitle_segment& segment : read_segments(field).segments) {
        const std::size_t i = count[segment.type]++;
        text << "subtitling_segment\nsync_byte: 0xf\nsegment_type: 0x" << std::hex << segment.type << std::dec
             << "\n"
             << listed({{"page_id", 1}, {"segment_length", segment.data.size()}});
        if (segment.type == 0x10)
            text << list_page(page);
        else if (segment.type == 0x11)
            text << list_region(page.regions.at(i), i);
        else if (segment.type == 0x12)
            text << list_clut(page.regions.at(i), i);
        else if (segment.type == 0x13)
            text << list_object(segment, i, page.regions.size());
    }
    text << "data (0 bytes)\nend_of_PES_data_field_marker: 0xff\n";
    return text.str();
}

/// The different listings in tsdvbsub's output, one for each PES packet, without the pixel data.
std::set<std::string> listings_of(const std::string& output)
{
    std::set<std::string> listings;
    std::string listing;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("data_identifier"))
            listing.clear();
        if (!line.empty() && line.find("pixel-data") == std::string::npos)
            listing += line + "\n";
        if (line.starts_with("end_of_PES_data_field_marker"))
            listings.insert(listing);
    }
    return listings;
}

/// A region as the layout file asks for it.
struct layout_entry {
    std::string name{};
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The text behind `name` in the sample's layout file, from `attribute` on.
std::string layout_from(const std::string& name, const std::string& attribute)
{
    const std::string text = read_file(std::filesystem::path(SAMPLE_SHOP) / "layout.xml");
    return text.substr(std::min(text.find(attribute, text.find("\"" + name + "\"")), text.size()));
}

/// The regions of the sample's layout file, and the banner, in the order in which they are drawn.
std::vector<layout_entry> sample_layout()
{
    std::vector<layout_entry> entries;
    for (const char* name : {"model", "price", "brand", "warranty"}) {
        layout_entry& entry = entries.emplace_back(layout_entry{.name = name});
        EXPECT_EQ(
            std::sscanf(layout_from(name, "x_pos").c_str(), R"(x_pos="%u" y_pos="%u" width="%u" height="%u")",
                &entry.x, &entry.y, &entry.width, &entry.height),
            4);
    }
    entries.insert(entries.end() - 1, {.name = "banner", .x = 603, .y = 14, .width = 88, .height = 550});
    return entries;
}

/// An ITU-R BT.601 colour as ffmpeg computes it: 10 bits behind the point, halves rounded up, limited to 8
/// bits. In the order of its "bgra" pixels.
std::array<std::uint8_t, 4> ffmpeg_colour(const clut_colour& colour)
{
    const auto fixed = [](double factor) { return static_cast<int>(std::lround(factor * 1024)); };
    constexpr double chroma = 255.0 / 224;
    const int y = (colour.y - 16) * fixed(255.0 / 219) + 512;
    const int cb = colour.cb - 128;
    const int cr = colour.cr - 128;
    const auto limited = [](int value) { return static_cast<std::uint8_t>(std::clamp(value >> 10, 0, 255)); };
    return {limited(y + fixed(1.772 * chroma) * cb),
        limited(y - fixed(0.34414 * chroma) * cb - fixed(0.71414 * chroma) * cr),
        limited(y + fixed(1.402 * chroma) * cr), static_cast<std::uint8_t>(255 - colour.t)};
}

/// The palette picture on a transparent display.
byte_string compose(const decoded_page& page)
{
    byte_string pixels(std::size_t{720} * 576 * 4);
    for (const decoded_region& region : page.regions)
        for (std::size_t i = 0; i < region.indices.size(); ++i) {
            const std::size_t x = region.x + i % region.width;
            const std::size_t y = region.y + i / region.width;
            if (x < 720 && y < 576)
                std::ranges::copy(ffmpeg_colour(region.colours[region.indices[i]]),
                    pixels.begin() + static_cast<std::ptrdiff_t>((y * 720 + x) * 4));
        }
    return pixels;
}

struct Subtitles : testing::Test {
    static void SetUpTestSuite()
    {
        sample = std::make_unique<sample_stream>();
        send_sample_shop(*sample);
    }
    static void TearDownTestSuite()
    {
        sample.reset();
    }
    inline static std::unique_ptr<sample_stream> sample;
};

} // namespace

TEST_F(Subtitles, LieWhereTheLayoutPutsThem)
{
    const auto entries = sample_layout();
    for (const auto& [pid, field] : sample->display_sets) {
        auto next = entries.begin();
        for (const decoded_region& region : decode_display_set(field).regions) {
            next = std::find_if(next, entries.end(),
                [&](const layout_entry& entry) { return entry.x == region.x && entry.y == region.y; });
            ASSERT_NE(next, entries.end()) << pid << " " << region.id;
            if (next->name != "brand") { // adapts itself to logos and letters
                EXPECT_EQ(region.width, next->width) << pid << next->name;
                EXPECT_EQ(region.height, next->height) << pid << next->name;
            }
            ++next;
        }
    }
}

/// 16 colours are chosen for each region, so that its ground is hardly changed.
TEST_F(Subtitles, HaveTheColoursOfTheLayout)
{
    unsigned alpha = 0;
    unsigned red = 0;
    unsigned green = 0;
    unsigned blue = 0;
    ASSERT_EQ(std::sscanf(layout_from("price", "backgroundColor").c_str(), R"(backgroundColor="%2x%2x%2x%2x)",
                  &alpha, &red, &green, &blue),
        4);
    const std::array wanted{blue, green, red, alpha}; // as `ffmpeg_colour` has them
    constexpr std::size_t price = 1;
    for (const auto& [pid, field] : sample->display_sets) {
        const decoded_region region = decode_display_set(field).regions.at(price);
        const auto colour = ffmpeg_colour(region.colours[region.indices[0]]);
        for (std::size_t i = 0; i < colour.size(); ++i)
            EXPECT_NEAR(colour[i], wanted[i], 5) << pid << " " << i;
    }
}

TEST_F(Subtitles, AreListedByTsdvbsubAsTheyMustBe)
{
    for (const auto& [pid, field] : sample->display_sets) {
        const std::string output =
            output_of_command("tsdvbsub -pid " + std::to_string(pid) + " " + sample->path);
        EXPECT_EQ(listings_of(output),
            (std::set{expected_listing(field), expected_listing(sample->refreshes[pid])}))
            << pid;
    }
}

/// Frames come two for each PES packet, and one before: in the 25th every service has been shown and
/// refreshed.
TEST_F(Subtitles, AreShownByFfmpegPixelForPixel)
{
    for (const auto& [pid, field] : sample->display_sets) {
        const std::string picture = (sample->folder.path / "picture").string();
        ASSERT_EQ(output_of_command("ffmpeg -v error -y -i " + sample->path + " -filter_complex '[0:#"
                      + std::to_string(pid) + "]select=gte(n\\,24)[shown]' -map '[shown]' -frames:v 1"
                      + " -fps_mode passthrough -f rawvideo -pix_fmt bgra " + picture + " 2>&1"),
            "");
        const std::string shown = read_file(picture);
        const byte_string expected = compose(decode_display_set(field));
        const auto first_difference =
            std::mismatch(shown.begin(), shown.end(), expected.begin(), expected.end(),
                [](char byte, std::uint8_t wanted) { return static_cast<std::uint8_t>(byte) == wanted; });
        EXPECT_EQ(shown.size(), expected.size()) << pid;
        EXPECT_EQ(first_difference.first - shown.begin(), std::ssize(expected)) << pid;
    }
}
