#include "emulated_run.h"
#include "subtitle_decoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gmock/gmock.h>
#include <memory>
#include <set>
#include <sstream>

// What independent decoders make of the subtitles of the sample shop.

namespace {

constexpr std::size_t pes_header_size = 14;

struct sample_stream {
    temporary_folder folder{};
    std::string path = (folder.path / "stream.ts").string();
    std::map<int, decoded_page> display_sets{}; ///< of the PIDs
};

void send_sample_shop(sample_stream& sample)
{
    std::filesystem::copy(SAMPLE_SHOP, sample.folder.path);
    const run_result result = run_daemon_emulated(
        shop_run(sample.folder, {"--duration", "30", "--bus-clock", "400000", "--stream", sample.path}));
    ASSERT_EQ(result.emulator_status, 0) << result.summary << result.errors;
    for (const ts_unit& pes : read_stream(sample.path).units) {
        if (pes.pid < 4368)
            continue;
        decoded_page page = decode_display_set(std::span(pes.bytes).subspan(pes_header_size));
        EXPECT_THAT(page.problems, testing::IsEmpty()) << pes.pid;
        if (page.state != 0)
            sample.display_sets[pes.pid] = page;
    }
    ASSERT_EQ(sample.display_sets.size(), 8);
}

/// What was read under each name.
using field_values = std::map<std::string, std::set<std::string>>;

/// All that tsdvbsub lists of a stream's subtitles, but lengths, pixels and stuffing.
field_values fields_listed(const std::string& listing)
{
    field_values fields;
    std::istringstream lines(listing);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": ");
        if (colon != std::string::npos && line.find("length") == std::string::npos
            && line.find("pixel-data") == std::string::npos && line.find("stuff") == std::string::npos)
            fields[line.substr(0, colon)].insert(line.substr(colon + 2));
    }
    return fields;
}

/// What it must list of a display set and its refresh: sizes and colours as our decoder reads them, the rest
/// as it always is.
field_values fields_of(const decoded_page& page)
{
    field_values fields{
        {"PTS", {"0t, DTS: 0t, PTS - last_PTS: 0t"}},
        {"data_identifier", {"0x20"}},
        {"subtitle_stream_id", {"0"}},
        {"sync_byte", {"0xf"}},
        {"segment_type", {"0x10", "0x11", "0x12", "0x13", "0x80"}},
        {"page_id", {"1"}},
        {"page_time_out", {"250"}},
        {"page_version_number", {"0", "1"}},
        {"page_state", {"0 (normal)", "2 (mode change)"}},
        {"reserved", {"0"}},
        {"region_level_of_complexity", {"2"}},
        {"region_depth", {"2"}},
        {"object_type", {"0"}},
        {"object_provider_flag", {"0"}},
        {"object_horizontal_position", {"0"}},
        {"object_vertical_position", {"0"}},
        {"2-bit/entry_CLUT_flag", {"0"}},
        {"4-bit/entry_CLUT_flag", {"1"}},
        {"8-bit/entry_CLUT_flag", {"0"}},
        {"full_range_flag", {"0x1"}},
        {"object_coding_method", {"0"}},
        {"non_modifying_colour_flag", {"0"}},
        {"end_of_PES_data_field_marker", {"0xff"}},
    };
    const auto add = [&](const char* name, std::size_t value) { fields[name].insert(std::to_string(value)); };
    for (std::size_t i = 0; i < page.regions.size(); ++i) {
        const decoded_region& region = page.regions[i];
        for (const char* name : {"region_id", "region_version_number", "CLUT_version_number", "object_id"})
            add(name, i);
        add("CLUT_id", i + 1);
        add("object_version_number", page.regions.size() + i);
        add("region_horizontal_address", region.x);
        add("region_vertical_address", region.y);
        add("region_width", region.width);
        add("region_height", region.height);
        const auto transparent = std::ranges::find(region.colours, 255, &clut_colour::t);
        const auto fill = static_cast<std::size_t>(transparent - region.colours.begin());
        add("region_fill_flag", fill < 16 ? 1 : 0);
        add("region_8-bit_pixel_code", fill);
        add("region_4-bit_pixel_code", fill % 16);
        add("region_2-bit_pixel_code", fill % 4);
        for (const clut_colour& colour : region.colours) {
            add("CLUT_entry_id", static_cast<std::size_t>(&colour - region.colours.data()));
            add("Y-value", colour.y);
            add("Cr-value", colour.cr);
            add("Cb-value", colour.cb);
            add("T-value", colour.t);
        }
    }
    return fields;
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

/// 16 colours are chosen for each region, so that its ground is hardly changed.
TEST_F(Subtitles, LieWhereTheLayoutPutsThemOnItsGround)
{
    for (const auto& [pid, page] : sample->display_sets) {
        const decoded_region& price = page.regions.at(1);
        EXPECT_THAT((std::array{price.x, price.y, price.width, price.height}),
            testing::ElementsAre(372, 447, 220, 69))
            << pid;
        const std::array<int, 4> ground{0x0E, 0xC2, 0xFF, 0xFF}; // as `ffmpeg_colour` has them
        const auto shown = ffmpeg_colour(price.colours[price.indices[0]]);
        for (std::size_t i = 0; i < ground.size(); ++i)
            EXPECT_NEAR(shown[i], ground[i], 5) << pid << " " << i;
    }
}

TEST_F(Subtitles, AreListedByTsdvbsubAsTheyMustBe)
{
    for (const auto& [pid, page] : sample->display_sets)
        EXPECT_EQ(
            fields_listed(output_of_command("tsdvbsub -pid " + std::to_string(pid) + " " + sample->path)),
            fields_of(page))
            << pid;
}

/// Frames come two for each PES packet, and one before: in the 25th every service has been shown and
/// refreshed.
TEST_F(Subtitles, AreShownByFfmpegPixelForPixel)
{
    const std::string picture = (sample->folder.path / "picture").string();
    for (const auto& [pid, page] : sample->display_sets) {
        ASSERT_EQ(output_of_command("ffmpeg -v error -y -i " + sample->path + " -filter_complex '[0:#"
                      + std::to_string(pid) + "]select=gte(n\\,24)[shown]' -map '[shown]' -frames:v 1"
                      + " -fps_mode passthrough -f rawvideo -pix_fmt bgra " + picture + " 2>&1"),
            "");
        const std::string shown = read_file(picture);
        EXPECT_TRUE(byte_string(shown.begin(), shown.end()) == compose(page)) << pid;
    }
}
