#include "nit_sdt.h"

#include "section.h"
#include "settings.h"

#include <string>

namespace {

constexpr std::uint32_t nit_table_id = 0x40;
constexpr std::uint32_t sdt_table_id = 0x42;

constexpr std::uint32_t network_name_descriptor = 0x40;
constexpr std::uint32_t service_list_descriptor = 0x41;
constexpr std::uint32_t service_descriptor = 0x48;
constexpr std::uint32_t linkage_descriptor = 0x4A;
constexpr std::uint32_t private_data_specifier_descriptor = 0x5F;
constexpr std::uint32_t logical_channel_descriptor = 0x83;

constexpr std::uint32_t digital_television = 0x01;      // service_type
constexpr std::uint32_t software_update_linkage = 0x09; // linkage_type
constexpr std::uint32_t dvb_oui = 0x00015A;             // TS 102 006: the update concerns any manufacturer
constexpr std::uint32_t channel_list_specifier = 0x00000028; // gives descriptor 0x83 its meaning
constexpr std::uint32_t event_now_and_next = 0xFD; // six reserved ones, no schedule, present/following

constexpr std::size_t max_network_name = 24;
constexpr std::size_t max_provider_name = 20;
constexpr std::size_t max_service_name = 16;
constexpr std::size_t max_service_name_with_channel = 8;
constexpr char no_character = '\0';

std::uint32_t service_id(const service_list& services, std::uint32_t index)
{
    return static_cast<std::uint32_t>(services.first_service_id) + index;
}

/// The article of the next service; null once the list is used up.
const item* take_article(const item*& rest)
{
    const item* article = rest;
    if (article != nullptr)
        rest = article->next;
    return article;
}

void put_network_name(byte_cursor& section, std::string_view name)
{
    const length_field descriptor = begin_descriptor(section, network_name_descriptor);
    put_text(section, name);
    end_length(section, descriptor);
}

void put_stream_identifiers(byte_cursor& section, const network_description& network)
{
    put_u16(section, network.transport_stream_id);
    put_u16(section, network.network_id); // original_network_id
}

void put_software_update_linkage(
    byte_cursor& section, const network_description& network, const service_list& services)
{
    const length_field descriptor = begin_descriptor(section, linkage_descriptor);
    put_stream_identifiers(section, network);
    put_u16(section, service_id(services, 0));
    put_u8(section, software_update_linkage);
    const length_field oui_data = begin_counted(section);
    put_u8(section, dvb_oui >> 16);
    put_u16(section, dvb_oui);
    put_u8(section, 0); // selector_length
    end_length(section, oui_data);
    end_length(section, descriptor);
}

void put_private_data_specifier(byte_cursor& section)
{
    const length_field descriptor = begin_descriptor(section, private_data_specifier_descriptor);
    put_u32(section, channel_list_specifier);
    end_length(section, descriptor);
}

void put_logical_channels(
    byte_cursor& section, const network_description& network, const service_list& services)
{
    const std::uint32_t flags = (network.services_visible ? 0x8000U : 0U) | 0x7C00U;
    const length_field descriptor = begin_descriptor(section, logical_channel_descriptor);
    std::uint32_t free_channel = network.first_channel;
    const item* rest = services.articles;
    for (std::uint32_t i = 0; i < services.count; ++i) {
        const item* article = take_article(rest);
        const std::uint32_t channel =
            article != nullptr ? static_cast<std::uint32_t>(article->channel) : free_channel++;
        put_u16(section, service_id(services, i));
        put_u16(section, flags | (channel & 0x3FFU));
    }
    end_length(section, descriptor);
}

void put_service_list(byte_cursor& section, const service_list& services)
{
    const length_field descriptor = begin_descriptor(section, service_list_descriptor);
    for (std::uint32_t i = 0; i < services.count; ++i) {
        put_u16(section, service_id(services, i));
        put_u8(section, digital_television);
    }
    end_length(section, descriptor);
}

void put_transport_stream(
    byte_cursor& section, const network_description& network, const service_list& services)
{
    put_stream_identifiers(section, network);
    const length_field descriptors = begin_loop(section);
    put_private_data_specifier(section);
    put_logical_channels(section, network, services);
    put_service_list(section, services);
    end_length(section, descriptors);
}

/// With articles every service repeats the name, and one byte is what forty services have room for.
std::string_view provider_name(const service_names& names, const service_list& services)
{
    if (services.articles == nullptr)
        return names.provider;
    return names.provider.empty() ? std::string_view(&no_character, 1) : names.provider.substr(0, 1);
}

std::string service_name(std::string_view base, const item* article)
{
    std::string name(base);
    if (article != nullptr)
        name.append(" ").append(std::to_string(static_cast<std::uint16_t>(article->channel)));
    return name;
}

void put_service(byte_cursor& section, std::uint32_t id, std::string_view provider, std::string_view name)
{
    put_u16(section, id);
    put_u8(section, event_now_and_next);
    const length_field descriptors = begin_loop(section, loop_flags::running);
    const length_field descriptor = begin_descriptor(section, service_descriptor);
    put_u8(section, digital_television);
    put_counted_text(section, provider);
    put_counted_text(section, name);
    end_length(section, descriptor);
    end_length(section, descriptors);
}

void put_services(byte_cursor& section, const service_names& names, const service_list& services)
{
    const std::string_view provider = provider_name(names, services);
    const std::string_view base =
        services.articles == nullptr ? names.service : names.service.substr(0, max_service_name_with_channel);
    const item* rest = services.articles;
    for (std::uint32_t i = 0; i < services.count; ++i)
        put_service(section, service_id(services, i), provider, service_name(base, take_article(rest)));
}

} // namespace

std::string article_service_name(std::string_view common_name, const item& article)
{
    return service_name(common_name.substr(0, max_service_name_with_channel), &article);
}

std::int32_t write_nit(
    std::span<std::uint8_t> out, const network_description& network, const service_list& services)
{
    byte_cursor section{.bytes = out};
    begin_long_section(section,
        {.table_id = nit_table_id, .table_id_extension = network.network_id, .version = network.version});
    const length_field network_descriptors = begin_loop(section);
    put_network_name(section, network.name);
    put_software_update_linkage(section, network, services);
    end_length(section, network_descriptors);
    const length_field transport_streams = begin_loop(section);
    put_transport_stream(section, network, services);
    end_length(section, transport_streams);
    return end_section_with_crc(section);
}

std::int32_t write_sdt(std::span<std::uint8_t> out, const service_names& names, const service_list& services)
{
    byte_cursor section{.bytes = out};
    begin_long_section(
        section, {.table_id = sdt_table_id, .table_id_extension = names.transport_stream_id, .version = 8});
    put_u16(section, names.original_network_id);
    put_u8(section, 0xFF); // reserved_future_use
    put_services(section, names, services);
    return end_section_with_crc(section);
}

std::int32_t create_nit_table(
    dvb_table& table, std::int32_t first_service_id, std::uint32_t service_count, const item* articles)
{
    const network_description network{
        .network_id = u16_setting(network_id_setting),
        .transport_stream_id = u16_setting(ts_id_setting),
        .version = u16_setting("PREF_SYSTEM_ENCODER_1_NIT_VERSION"),
        .name = name_setting("PREF_SYSTEM_ENCODER_1_NETWORK_NAME", max_network_name),
        .services_visible = setting_equals("PREF_SYSTEM_ENCODER_1_VISIBLE_SERVICE", "true"),
        .first_channel = u16_setting("PREF_SYSTEM_ENCODER_1_LCN"),
    };
    return write_nit(table.data, network,
        {.first_service_id = first_service_id, .count = service_count, .articles = articles});
}

std::int32_t create_sdt_table(
    dvb_table& table, std::int32_t first_service_id, std::uint32_t service_count, const item* articles)
{
    const service_names names{
        .original_network_id = u16_setting(network_id_setting),
        .transport_stream_id = u16_setting(ts_id_setting),
        .provider = name_setting("PREF_SYSTEM_ENCODER_1_SERVICE_PROVIDER_NAME", max_provider_name),
        .service = name_setting("PREF_SYSTEM_ENCODER_1_SERVICE_NAME", max_service_name),
    };
    return write_sdt(table.data, names,
        {.first_service_id = first_service_id, .count = service_count, .articles = articles});
}
