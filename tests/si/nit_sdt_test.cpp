#include "nit_sdt.h"

#include "section_bytes.h"
#include "temporary.h"

#include <string>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::SizeIs;
using bytes = std::vector<std::uint8_t>;

/// A list of articles that differ in their channels alone.
struct article_list {
    explicit article_list(const std::vector<std::int32_t>& channels)
        : articles(channels.size())
    {
        for (std::size_t i = 0; i < channels.size(); ++i) {
            articles[i].channel = channels[i];
            articles[i].next = i + 1 < channels.size() ? &articles[i + 1] : nullptr;
        }
    }
    [[nodiscard]] const item* head() const
    {
        return articles.data();
    }
    std::vector<item> articles;
};

bytes nit_of(const network_description& network, const service_list& services)
{
    return section_of([&](dvb_table& table) { return write_nit(table.data, network, services); });
}

bytes sdt_of(const service_names& names, const service_list& services)
{
    return section_of([&](dvb_table& table) { return write_sdt(table.data, names, services); });
}

/// The 10-bit logical channel numbers of a NIT, behind a network name of that length.
std::vector<unsigned> channels_in(const bytes& nit, std::size_t name_size)
{
    std::vector<unsigned> channels;
    const std::size_t first = 42 + name_size;
    for (std::size_t at = first; at < first + nit[41 + name_size]; at += 4)
        channels.push_back((nit[at + 2] & 0x03U) << 8 | nit[at + 3]);
    return channels;
}

/// Provider and service name of every service of an SDT, with a slash in between.
std::vector<std::string> names_in(const bytes& sdt)
{
    std::vector<std::string> names;
    for (std::size_t at = 11; at + 4 < sdt.size(); at += 5U + sdt[at + 4]) {
        const auto provider = sdt.begin() + static_cast<std::ptrdiff_t>(at) + 9;
        const auto service = provider + sdt[at + 8] + 1;
        names.push_back(
            std::string(provider, service - 1) + "/" + std::string(service, service + *(service - 1)));
    }
    return names;
}

TEST(Nit, DescribesOneServiceWithoutSettings)
{
    EXPECT_THAT(section_of([](dvb_table& table) { return create_nit_table(table, 100, 1, nullptr); }),
        ElementsAreArray<std::uint8_t>({
            0x40, 0xF0, 0x35,                               // table_id, section_length
            0x00, 0x00, 0xC1, 0x00, 0x00,                   // network_id, version, section numbers
            0xF0, 0x11,                                     // network_descriptors_length
            0x40, 0x01, ' ',                                // network_name_descriptor
            0x4A, 0x0C, 0x00, 0x00, 0x00, 0x00, 0x00, 0x64, // linkage_descriptor
            0x09, 0x04, 0x00, 0x01, 0x5A, 0x00,             // its linkage_type and OUI data
            0xF0, 0x17,                                     // transport_stream_loop_length
            0x00, 0x00, 0x00, 0x00, 0xF0, 0x11, // stream identifiers, transport_descriptors_length
            0x5F, 0x04, 0x00, 0x00, 0x00, 0x28, // private_data_specifier_descriptor
            0x83, 0x04, 0x00, 0x64, 0x7C, 0x00, // logical channels
            0x41, 0x03, 0x00, 0x64, 0x01,       // service_list_descriptor
            0x6B, 0x75, 0x87, 0x02,             // CRC_32
        }));
}

TEST(Nit, CarriesTheSettings)
{
    const environment set{
        {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", "8442"}, // 0x20FA
        {"PREF_SYSTEM_ENCODER_1_TS_ID", "4660"},      // 0x1234
        {"PREF_SYSTEM_ENCODER_1_NIT_VERSION", "33"},
        {"PREF_SYSTEM_ENCODER_1_NETWORK_NAME", "\xC9t\xE9 network of thirty bytes..."},
        {"PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE", "true"},
        {"PREF_SYSTEM_ENCODER_1_LCN", "1023"},
    };
    const auto nit = section_of([](dvb_table& table) { return create_nit_table(table, -1, 2, nullptr); });
    expect_sound(nit);
    EXPECT_THAT(std::span(nit).first(nit.size() - 4),
        ElementsAreArray<std::uint8_t>({
            0x40, 0xF0, 0x53,             // table_id, section_length
            0x20, 0xFA, 0xC3, 0x00, 0x00, // network_id, version, section numbers
            0xF0, 0x28,                   // network_descriptors_length
            0x40, 0x18, 0xC9, 't', 0xE9, ' ', 'n', 'e', 't', 'w', 'o', 'r', 'k', // network_name_descriptor
            ' ', 'o', 'f', ' ', 't', 'h', 'i', 'r', 't', 'y', ' ', 'b', 'y',     // cut to 24 bytes
            0x4A, 0x0C, 0x12, 0x34, 0x20, 0xFA, 0xFF, 0xFF,                      // linkage_descriptor
            0x09, 0x04, 0x00, 0x01, 0x5A, 0x00, // its linkage_type and OUI data
            0xF0, 0x1E,                         // transport_stream_loop_length
            0x12, 0x34, 0x20, 0xFA, 0xF0, 0x18, // stream identifiers, transport_descriptors_length
            0x5F, 0x04, 0x00, 0x00, 0x00, 0x28, // private_data_specifier_descriptor
            0x83, 0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0xFC, 0x00, // logical channels
            0x41, 0x06, 0xFF, 0xFF, 0x01, 0x00, 0x00, 0x01,             // service_list_descriptor
        }));
}

TEST(Nit, TakesChannelsFromTheArticlesAndThenCounts)
{
    const article_list articles({5, 1025, -1});
    const auto nit = nit_of(
        {.name = "", .first_channel = 30}, {.first_service_id = 1, .count = 5, .articles = articles.head()});
    expect_sound(nit);
    EXPECT_THAT(channels_in(nit, 0), ElementsAre(5, 1, 1023, 30, 31));
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

TEST(Sdt, CarriesTheSettings)
{
    const environment set{
        {"PREF_SYSTEM_ENCODER_1_NETWORK_ID", "8442"},
        {"PREF_SYSTEM_ENCODER_1_TS_ID", "4660"},
        {"PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", "A provider of many words"},
        {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", "A service of many words"},
    };
    const auto sdt = section_of([](dvb_table& table) { return create_sdt_table(table, 0, 2, nullptr); });
    expect_sound(sdt);
    EXPECT_THAT(names_in(sdt),
        ElementsAre("A provider of many w/A service of man", "A provider of many w/A service of man"));
    EXPECT_THAT(std::span(sdt).subspan(3, 13),
        ElementsAre(0x12, 0x34, 0xD1, 0x00, 0x00, 0x20, 0xFA, 0xFF, 0x00, 0x00, 0xFD, 0x80, 41));
}

TEST(Sdt, NamesServicesAfterTheirChannels)
{
    const article_list articles({5, 1025, -1});
    const auto sdt =
        sdt_of({.provider = "Provider", .service = "ServiceName"}, {.count = 4, .articles = articles.head()});
    expect_sound(sdt);
    EXPECT_THAT(
        names_in(sdt), ElementsAre("P/ServiceN 5", "P/ServiceN 1025", "P/ServiceN 65535", "P/ServiceN"));
}

TEST(Sdt, SendsEmptyNames)
{
    const environment set{
        {"PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", ""}, {"PREF_SYSTEM_ENCODER_1_SERVICE_NAME", ""}};
    const article_list articles({7});
    const auto alone = section_of([](dvb_table& table) { return create_sdt_table(table, 0, 1, nullptr); });
    EXPECT_THAT(names_in(alone), ElementsAre("/"));
    const auto shown =
        section_of([&](dvb_table& table) { return create_sdt_table(table, 0, 1, articles.head()); });
    EXPECT_THAT(names_in(shown), ElementsAre(std::string("\0/ 7", 4)));
}

constexpr struct {
    const char* what;
    std::size_t articles;
    std::uint32_t services;
    std::size_t nit_size; // 48 + 24 + 7n
    std::size_t sdt_size; // 15 + 46n, with articles 15 + 25n
} sizes[] = {
    {"none", 0, 0, 72, 15},
    {"one without an article", 0, 1, 79, 61},
    {"three", 3, 3, 93, 90},
    {"as many as a run shows", 40, 40, 352, 1015},
    {"more than the memory has room for", 400, 400, 2048, 2048},
};

TEST(NitSdt, GrowWithTheServices)
{
    const std::string long_name(24, 'n');
    for (const auto& [what, article_count, count, nit_size, sdt_size] : sizes) {
        const article_list articles(std::vector<std::int32_t>(article_count, 65535));
        const service_list services{
            .count = count, .articles = article_count != 0 ? articles.head() : nullptr};
        const auto nit = nit_of({.name = long_name}, services);
        const auto sdt =
            sdt_of({.provider = long_name.substr(0, 20), .service = long_name.substr(0, 16)}, services);
        EXPECT_THAT(nit, SizeIs(nit_size)) << what;
        EXPECT_THAT(sdt, SizeIs(sdt_size)) << what;
        if (sdt_size < 2048) {
            expect_sound(nit, what);
            expect_sound(sdt, what);
        }
    }
}

} // namespace
