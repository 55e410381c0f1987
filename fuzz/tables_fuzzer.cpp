#include "eit.h"
#include "input.h"
#include "nit_sdt.h"
#include "pat_pmt.h"
#include "settings.h"
#include "tdt_tot.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr std::size_t services_max = 40;
constexpr std::size_t section_max = 1024; // EN 300 468, 5.1.1, but for the EIT

constexpr const char* setting_names[] = {"PREF_SYSTEM_ENCODER_1_NETWORK_ID",
    "PREF_SYSTEM_ENCODER_1_NETWORK_NAME", "PREF_SYSTEM_ENCODER_1_NIT_VERSION", "PREF_SYSTEM_ENCODER_1_TS_ID",
    "PREF_SYSTEM_ENCODER_1_SERVICE_ID", "PREF_SYSTEM_ENCODER_1_SERVICE_NAME",
    "PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", "PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE",
    "PREF_SYSTEM_ENCODER_1_LCN", "PREF_SYSTEM_ENCODER_1_VIDEO_CODEC",
    "PREF_SYSTEM_ENCODER_1_VIDEO_FRAMERATE"};

/// What the lines say besides the settings: a `channel=` for each article; with articles, how many
/// `services=` there are; the `audio=` stream type; and the `time=` in seconds since 1970.
struct output {
    std::vector<item> articles;
    std::int32_t services = 1;
    std::int32_t audio = 0;
    std::int32_t time = 0;
};

std::int32_t number_of(std::string_view text)
{
    std::int32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// Without the quotes that a settings file for a shell has.
std::string_view unquoted(std::string_view value)
{
    const bool quoted = value.size() > 1 && value.front() == '"' && value.back() == '"';
    return quoted ? value.substr(1, value.size() - 2) : value;
}

void take_line(output& made, std::string_view line)
{
    const std::string_view name = take_until(line, '=');
    const std::string_view value = unquoted(line);
    if (name == "channel")
        made.articles.push_back({.channel = number_of(value)});
    else if (name == "services")
        made.services = number_of(value);
    else if (name == "audio")
        made.audio = number_of(value);
    else if (name == "time")
        made.time = number_of(value);
    else if (std::ranges::find(setting_names, name) != std::end(setting_names))
        setenv(std::string(name).c_str(), std::string(value).c_str(), 1);
}

output take_lines(std::string_view input)
{
    for (const char* name : setting_names)
        unsetenv(name);
    output made;
    while (!input.empty())
        take_line(made, take_until(input, '\n'));
    made.articles.resize(std::min(made.articles.size(), services_max));
    for (std::size_t i = 1; i < made.articles.size(); ++i)
        made.articles[i - 1].next = &made.articles[i];
    made.services =
        made.articles.empty() ? 1 : std::clamp(made.services, 1, static_cast<std::int32_t>(services_max));
    return made;
}

using bytes_left = std::span<const std::uint8_t>;

/// The remainder of ISO/IEC 13818-1, Annex A, bit by bit.
std::uint32_t remainder_of(bytes_left bytes)
{
    std::uint32_t remainder = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            const std::uint32_t out = remainder >> 31 ^ (byte >> bit & 1U);
            remainder = remainder << 1 ^ (out != 0 ? 0x04C11DB7 : 0);
        }
    }
    return remainder;
}

bytes_left take_exactly(bytes_left& rest, std::size_t count)
{
    require(rest.size() >= count);
    return take_bytes(rest, count);
}

void check_descriptors(bytes_left loop)
{
    while (!loop.empty())
        take_exactly(loop, take_exactly(loop, 2)[1]);
}

/// Of two bytes, the low 12 bits.
std::size_t length_12_bits(bytes_left field)
{
    return (field[0] & 0x0FU) << 8 | field[1];
}

/// Takes what ends in a 12-bit length, and the descriptors of that length.
void take_described(bytes_left& rest, std::size_t fixed_bytes)
{
    const auto fixed = take_exactly(rest, fixed_bytes);
    check_descriptors(take_exactly(rest, length_12_bits(fixed.last(2))));
}

void check_entries(bytes_left rest, std::size_t fixed_bytes)
{
    while (!rest.empty())
        take_described(rest, fixed_bytes);
}

/// Checks the lengths and the CRC_32 of a section. Returns what lies between its header and the CRC_32.
bytes_left content_of(const dvb_table& table, std::int32_t length, std::size_t header_bytes)
{
    require(length > 0 && static_cast<std::size_t>(length) <= section_max);
    const bytes_left section(table.data.data(), static_cast<std::size_t>(length));
    require(length_12_bits(section.subspan(1, 2)) == section.size() - 3);
    require(remainder_of(section) == 0);
    require(section.size() >= header_bytes + 4);
    return section.subspan(header_bytes, section.size() - header_bytes - 4);
}

void check_programs(dvb_table& table, const output& made)
{
    const auto first = static_cast<std::uint32_t>(number_setting(service_id_setting));
    const auto services = static_cast<std::uint32_t>(made.services);
    const auto programs = content_of(table, create_pat_table(table, first, services), 8);
    require(programs.size() == 4 * (std::size_t{services} + 1));
    for (std::int32_t i = 0; i < made.services; ++i) {
        const std::int32_t pid = made.articles.empty() ? 0 : 4368 + i;
        const std::int32_t length =
            create_pmt_table(table, static_cast<std::int32_t>(first + static_cast<std::uint32_t>(i)),
                made.audio == 0 ? 0 : 4352, static_cast<std::uint8_t>(made.audio), pid);
        auto rest = content_of(table, length, 8);
        take_described(rest, 4);
        check_entries(rest, 5);
    }
}

void check_services(dvb_table& table, const output& made)
{
    const std::int32_t first = number_setting(service_id_setting);
    const auto services = static_cast<std::uint32_t>(made.services);
    const item* articles = made.articles.empty() ? nullptr : made.articles.data();
    auto rest = content_of(table, create_nit_table(table, first, services, articles), 8);
    take_described(rest, 2);
    const auto loop_length = take_exactly(rest, 2);
    require(length_12_bits(loop_length) == rest.size());
    check_entries(rest, 6);
    check_entries(content_of(table, create_sdt_table(table, first, services, articles), 11), 5);
}

void check_times(dvb_table& table, const output& made)
{
    check_entries(content_of(table, create_eit_table(table), 14), 12);

    const std::time_t moment = made.time;
    std::tm utc{};
    require(gmtime_r(&moment, &utc) != nullptr);
    require(write_tdt(table.data, utc) == 8 && table.data[2] == 5);
    check_entries(content_of(table, write_tot(table.data, utc), 8), 2);
    require(create_tdt_table(table) == 8);
    check_entries(content_of(table, create_tot_table(table), 8), 2);
}

} // namespace

/// Lines of names and values, as in a settings file: see `take_line`.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const output made = take_lines(text_of({bytes, size}));
    dvb_table table;
    table.data.fill(0xA5); // what an earlier table has left
    check_programs(table, made);
    check_services(table, made);
    check_times(table, made);
    return 0;
}
