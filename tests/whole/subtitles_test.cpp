#include "emulated_run.h"
#include "subtitle_decoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gmock/gmock.h>
#include <map>

// What independent decoders make of the subtitles of the sample shop.

namespace {

struct sample_stream {
    temporary_folder folder{};
    std::string path = (folder.path / "stream.ts").string();
    std::map<int, decoded_page> display_sets{}; ///< of the PIDs
};

/// The display sets and refreshes of a PID, as ffmpeg takes them out of their PES packets: without what
/// stands before the first segment and behind the last (ETSI EN 300 743, 7.1).
std::vector<decoded_page> pages_of(const sample_stream& sample, int pid)
{
    const std::string path = (sample.folder.path / "segments").string();
    EXPECT_EQ(output_of_command("ffmpeg -v error -y -i " + sample.path + " -map '0:#" + std::to_string(pid)
                  + "' -c copy -f data " + path + " 2>&1"),
        "");
    const std::string segments = read_file(path);
    const std::string end("\x0F\x80\0\1\0\0", 6); // end of display set, of page 1
    std::vector<decoded_page> pages;
    for (std::size_t at = 0, next = 0; (next = segments.find(end, at)) != std::string::npos; at = next) {
        next += end.size();
        const std::string text = std::string("\x20\0", 2) + segments.substr(at, next - at) + '\xFF';
        pages.push_back(decode_display_set(std::vector<std::uint8_t>(text.begin(), text.end())));
        EXPECT_THAT(pages.back().problems, testing::IsEmpty()) << pid;
    }
    return pages;
}

void send_sample_shop(sample_stream& sample)
{
    std::filesystem::copy(SAMPLE_SHOP, sample.folder.path);
    const run_result result = run_daemon_emulated(
        shop_run(sample.folder, {"--duration", "30", "--bus-clock", "400000", "--stream", sample.path}));
    ASSERT_EQ(result.emulator_status, 0) << result.summary << result.errors;
    for (int pid = 4368; pid < 4368 + 8; ++pid)
        for (const decoded_page& page : pages_of(sample, pid))
            if (page.state != 0)
                sample.display_sets[pid] = page;
    ASSERT_EQ(sample.display_sets.size(), 8);
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
std::vector<std::uint8_t> compose(const decoded_page& page)
{
    std::vector<std::uint8_t> pixels(std::size_t{720} * 576 * 4);
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

/// 16 colours are chosen for each region, so that its ground is hardly changed.
void expect_price_on_its_ground(const decoded_page& page)
{
    const decoded_region& price = page.regions.at(1);
    EXPECT_THAT(
        (std::array{price.x, price.y, price.width, price.height}), testing::ElementsAre(372, 447, 220, 69));
    const std::array<int, 4> ground{0x0E, 0xC2, 0xFF, 0xFF}; // as `ffmpeg_colour` has them
    const auto shown = ffmpeg_colour(price.colours[price.indices[0]]);
    for (std::size_t i = 0; i < ground.size(); ++i)
        EXPECT_NEAR(shown[i], ground[i], 5) << i;
}

} // namespace

/// Frames come two for each PES packet, and one before: in the 25th every service has been shown and
/// refreshed.
TEST(Subtitles, AreShownByFfmpegPixelForPixelOnTheirGround)
{
    sample_stream sample;
    ASSERT_NO_FATAL_FAILURE(send_sample_shop(sample));
    const std::string picture = (sample.folder.path / "picture").string();
    for (const auto& [pid, page] : sample.display_sets) {
        SCOPED_TRACE(pid);
        expect_price_on_its_ground(page);
        ASSERT_EQ(output_of_command("ffmpeg -v error -y -i " + sample.path + " -filter_complex '[0:#"
                      + std::to_string(pid) + "]select=gte(n\\,24)[shown]' -map '[shown]' -frames:v 1"
                      + " -fps_mode passthrough -f rawvideo -pix_fmt bgra " + picture + " 2>&1"),
            "");
        const std::string shown = read_file(picture);
        EXPECT_TRUE(std::vector<std::uint8_t>(shown.begin(), shown.end()) == compose(page));
    }
}

/// Fonts decide bytes.
TEST(Subtitles, LookAsOnDebianWithTheFontsThatAreInstalled)
{
    const temporary_folder folder;
    std::filesystem::copy(SAMPLE_SHOP, folder.path);
    const auto record_with = [&](const std::string& fonts) {
        run_request request = shop_run(folder, {"--duration", "20"});
        request.settings.emplace_back("FONTCONFIG_FILE", fonts);
        return run_daemon_emulated(request).record;
    };
    const std::string plain =
        write_file(folder, "fonts.conf", "<fontconfig><dir>/usr/share/fonts</dir></fontconfig>");
    const std::string on_debian = record_with("/etc/fonts/fonts.conf");
    EXPECT_TRUE(record_with(FONTS_FILE) == on_debian);
    EXPECT_FALSE(record_with(plain) == on_debian);
}
