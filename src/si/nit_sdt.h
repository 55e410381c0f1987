#pragma once

#include "dvb_table.h"
#include "item.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// The services of the output, numbered from 0.
struct service_list {
    std::int32_t first_service_id = 0; ///< service i has this service_id + i, low 16 bits
    std::uint32_t count = 1;
    const item* articles = nullptr; ///< one for each service in this order; null in single-service operation
};

struct network_description {
    std::uint32_t network_id = 0;          ///< low 16 bits; original_network_id too
    std::uint32_t transport_stream_id = 0; ///< low 16 bits
    std::uint32_t version = 0;             ///< low 5 bits
    std::string_view name = " ";           ///< at most 24 bytes
    bool services_visible = false;
    std::uint32_t first_channel = 0; ///< of the services without an article, counted up from here
};

/// Writes the network information section of the actual network (EN 300 468, 5.2.1) to the front of
/// `out`. A service has the channel of its article as logical channel number, low 10 bits. Returns
/// the length, 48 bytes, the name and 7 more for each service.
[[nodiscard]] std::int32_t write_nit(
    std::span<std::uint8_t> out, const network_description& network, const service_list& services);

struct service_names {
    std::uint32_t original_network_id = 0; ///< low 16 bits
    std::uint32_t transport_stream_id = 0; ///< low 16 bits
    std::string_view provider = " "; ///< at most 20 bytes; with articles its first byte is sent, 0 if empty
    std::string_view service = " ";  ///< at most 16 bytes; with articles 8 are sent and the channel number
};

/// Writes the service description section of the actual transport stream (EN 300 468, 5.2.3) to the
/// front of `out`. Returns the length: 15 bytes, and 10 more and both names for each service.
[[nodiscard]] std::int32_t write_sdt(
    std::span<std::uint8_t> out, const service_names& names, const service_list& services);

/// The name that an article's service has in the SDT: 8 bytes of the services' common name, and its channel.
[[nodiscard]] std::string article_service_name(std::string_view common_name, const item& article);

/// Writes the NIT of the settings and of these services, described by the members of `service_list`,
/// into `table.data`; only that is written. Returns the section's length in bytes.
[[nodiscard]] std::int32_t create_nit_table(
    dvb_table& table, std::int32_t first_service_id, std::uint32_t service_count, const item* articles);

/// The same for the SDT.
[[nodiscard]] std::int32_t create_sdt_table(
    dvb_table& table, std::int32_t first_service_id, std::uint32_t service_count, const item* articles);
