#include "startup.h"

#include "handles.h"
#include "registers.h"
#include "settings.h"
#include "text.h"

#include <array>
#include <cstdio>

namespace {

constexpr std::uint8_t mpeg1_audio = 3;
constexpr std::uint8_t aac_adts_audio = 15;

constexpr const char* version_message = "cannot get epld version";

} // namespace

bool output_is_ethernet()
{
    return setting_equals("PREF_SYSTEM_STREAMER_1_OUTPUT", "Ethernet");
}

std::optional<std::uint32_t> read_epld_version(const char* version_file)
{
    const owned_file file(std::fopen(version_file, "rt"));
    std::array<char, 4096> text{}; // an attribute in sysfs is at most one page
    const std::size_t length = file ? std::fread(text.data(), 1, text.size(), file.get()) : 0;
    if (!file || std::ferror(file.get()) != 0) {
        std::perror(version_message);
        return std::nullopt;
    }
    const auto number = parse_decimal({text.data(), length});
    if (!number) {
        std::fprintf(stderr, "%s: no decimal number in %s\n", version_message, version_file);
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*number);
}

std::optional<driver_state> start_up(const char* version_file)
{
    driver_state state;
    state.audio_enabled = setting_equals("PREF_SYSTEM_ENCODER_1_AUDIO_ENABLED", "true");
    state.audio_stream_type =
        setting_equals("PREF_SYSTEM_ENCODER_1_AUDIO_CODEC", "MPEG4 AAC-LC") ? aac_adts_audio : mpeg1_audio;

    const auto version = read_epld_version(version_file);
    if (!version)
        return std::nullopt;
    std::printf("Detect EPLD version %d\n", static_cast<std::int32_t>(*version));
    state.epld_version = *version;
    state.multi_service_requested =
        is_new_generation(*version) && setting_equals("PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES", "true");
    return state;
}
