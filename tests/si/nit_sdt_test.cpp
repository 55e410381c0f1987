#include "nit_sdt.h"

#include "section_bytes.h"
#include "temporary.h"

#include <string>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

/// They differ in their channels alone.
struct three_articles {
    item third{.channel = -1};
    item second{.channel = 1025, .next = &third};
    item first{.channel = 5, .next = &second};
} const articles;

TEST(Nit, CarriesTheSettingsAndTheChannelsOfTheArticles)
{
    const environment set{
        {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", "8442"}, // 0x20FA
        {"PREF_SYSTEM_ENCODER_1_TS_ID", "4660"},      // 0x1234
        {"PREF_SYSTEM_ENCODER_1_NIT_VERSION", "33"},
        {"PREF_SYSTEM_ENCODER_1_NETWORK_NAME", "\xC9t\xE9 network of thirty bytes..."},
        {"PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE", "true"},
        {"PREF_SYSTEM_ENCODER_1_LCN", "1022"},
    };
    const auto nit =
        section_of([](dvb_table& table) { return create_nit_table(table, -1, 6, &articles.first); });
    expect_sound(nit);
    EXPECT_THAT(std::span(nit).first(110),
        ElementsAreArray<std::uint8_t>({
            0x40, 0xF0, 0x6F,             // table_id, section_length
            0x20, 0xFA, 0xC3, 0x00, 0x00, // network_id, version, section numbers
            0xF0, 0x28, 0x40, 0x18, 0xC9, 't', 0xE9, ' ', 'n', 'e', 't', 'w', 'o', // network_name_descriptor
            'r', 'k', ' ', 'o', 'f', ' ', 't', 'h', 'i', 'r', 't', 'y', ' ', 'b', 'y', // cut to 24 bytes
            0x4A, 0x0C, 0x12, 0x34, 0x20, 0xFA, 0xFF, 0xFF, 0x09, 0x04, 0x00, 0x01, 0x5A, 0x00, // linkage
            0xF0, 0x3A, 0x12, 0x34, 0x20, 0xFA, 0xF0, 0x34, // transport stream
            0x5F, 0x04, 0x00, 0x00, 0x00, 0x28,             // private_data_specifier_descriptor
            0x83, 0x18,                                     // logical channels, all visible
            0xFF, 0xFF, 0xFC, 0x05, 0x00, 0x00, 0xFC, 0x01, 0x00, 0x01, 0xFF, 0xFF, // of the articles
            0x00, 0x02, 0xFF, 0xFE, 0x00, 0x03, 0xFF, 0xFF, 0x00, 0x04, 0xFC, 0x00, // from 1022 on
            0x41, 0x12, 0xFF, 0xFF, 0x01, 0x00, 0x00, 0x01, 0x00, 0x01, 0x01,       // service_list_descriptor
            0x00, 0x02, 0x01, 0x00, 0x03, 0x01, 0x00, 0x04, 0x01,                   // of digital television
        }));
}

TEST(Nit, HidesAServiceWithoutSettingsAndArticles)
{
    const auto nit = section_of([](dvb_table& table) { return create_nit_table(table, 100, 1, nullptr); });
    EXPECT_THAT(std::span(nit).subspan(41, 6), ElementsAre(0x83, 0x04, 0x00, 0x64, 0x7C, 0x00));
}

TEST(Sdt, DescribesOneServiceWithoutSettings)
{
    EXPECT_THAT(section_of([](dvb_table& table) { return create_sdt_table(table, 100, 1, nullptr); }),
        ElementsAreArray<std::uint8_t>({
            0x42, 0xF0, 0x18,                       // table_id, section_length
            0x00, 0x00, 0xD1, 0x00, 0x00,           // transport_stream_id, version 8, section numbers
            0x00, 0x00, 0xFF,                       // original_network_id, reserved
            0x00, 0x64, 0xFD, 0x80, 0x07,           // service_id, EIT flags, descriptors_loop_length
            0x48, 0x05, 0x01, 0x01, ' ', 0x01, ' ', // service_descriptor
            0xBB, 0x83, 0xE5, 0x4D,                 // CRC_32
        }));
}

/// Provider and service name of every service of an SDT, with a slash in between.
std::vector<std::string> names_in(const std::vector<std::uint8_t>& sdt)
{
    std::vector<std::string> names;
    for (std::size_t at = 11; at + 4 < sdt.size(); at += 5U + sdt[at + 4]) {
        const std::string text(sdt.begin() + static_cast<std::ptrdiff_t>(at), sdt.end());
        const std::size_t provider_size = sdt[at + 8];
        names.push_back(text.substr(9, provider_size) + "/"
            + text.substr(10 + provider_size, sdt[at + 9 + provider_size]));
    }
    return names;
}

const struct {
    const char* provider;
    const char* service;
    const item* articles;
    std::vector<std::string> names;
} names_sent[] = {
    {"A provider of many words", "A service of many words", nullptr,
        {"A provider of many w/A service of man"}},
    {"", "", nullptr, {"/", "/"}},
    {"Provider", "ServiceName", &articles.first,
        {"P/ServiceN 5", "P/ServiceN 1025", "P/ServiceN 65535", "P/ServiceN"}},
    {"", "", &articles.first, {std::string("\0/ 5", 4)}},
};

TEST(Sdt, NamesTheServicesOfTheSettings)
{
    for (const auto& row : names_sent) {
        const environment set{{"PREF_SYSTEM_ENCODER_1_TS_ID", "4660"},
            {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", "8442"},
            {"PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", row.provider},
            {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", row.service}};
        const auto count = static_cast<std::uint32_t>(row.names.size());
        const auto sdt =
            section_of([&](dvb_table& table) { return create_sdt_table(table, 0, count, row.articles); });
        expect_sound(sdt, row.service);
        EXPECT_THAT(
            std::span(sdt).subspan(3, 8), ElementsAre(0x12, 0x34, 0xD1, 0x00, 0x00, 0x20, 0xFA, 0xFF));
        EXPECT_EQ(names_in(sdt), row.names);
    }
}

} // namespace
