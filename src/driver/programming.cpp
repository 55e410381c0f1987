#include "programming.h"

#include "eit.h"
#include "nit_sdt.h"
#include "pat_pmt.h"
#include "pids.h"
#include "protocol.h"
#include "settings.h"
#include "table_transfer.h"

#include <algorithm>
#include <cstdio>

namespace {

/// Type bytes of a table slot: they carry the device's class for the table, one higher on the new
/// generation.
struct table_type {
    std::uint8_t old_generation = 0;
    std::uint8_t new_generation = 0;
};
constexpr table_type program_type{.old_generation = 0x81, .new_generation = 0x91};
constexpr table_type service_type{.old_generation = 0x91, .new_generation = 0xA1};
constexpr table_type network_type{.old_generation = 0xA1, .new_generation = 0xB1};

struct table_slot {
    std::int32_t (*build)(dvb_table& table, const service_list& services) = nullptr;
    std::uint16_t pid = 0;
    table_type type{};
};

std::int32_t build_sdt(dvb_table& table, const service_list& services)
{
    return create_sdt_table(table, services.first_service_id, services.count, services.articles);
}

std::int32_t build_nit(dvb_table& table, const service_list& services)
{
    return create_nit_table(table, services.first_service_id, services.count, services.articles);
}

std::int32_t build_pat(dvb_table& table, const service_list& services)
{
    return create_pat_table(table, static_cast<std::uint32_t>(services.first_service_id), services.count);
}

std::int32_t build_eit(dvb_table& table, const service_list& /*services*/)
{
    return create_eit_table(table);
}

/// In the order of their slots. The PMTs, one for each service, follow.
constexpr table_slot common_tables[] = {
    {.build = build_sdt, .pid = pids::sdt, .type = service_type},
    {.build = build_nit, .pid = pids::nit, .type = network_type},
    {.build = build_pat, .pid = pids::pat, .type = program_type},
    {.build = build_eit, .pid = pids::eit, .type = service_type},
};

/// The programming under way.
struct programming {
    int fd = -1;
    std::uint32_t epld_version = 0;
    slot_place next{}; ///< of the next slot
    dvb_table table{}; ///< built anew for each slot
};

bool report_no_room()
{
    std::fputs("packet memory has no room for the tables and two stream slots\n", stderr);
    return false;
}

/// Whole packets are written, also where only the front of the last one counts.
bool has_room(std::uint32_t address, std::uint32_t packets)
{
    return address <= packet_memory_size - packets * packet_size;
}

/// Writes the section in the record, `length` bytes long, into the next slot.
bool load_table(programming& device, std::int32_t length, std::uint32_t pid, const table_type& type)
{
    device.table.length = static_cast<std::uint32_t>(length);
    device.table.pid = pid;
    device.table.continuity_counter = 0;
    // A section of more packets than a slot takes is refused by the transfer, which says so.
    const std::uint32_t packets = packets_of_section(device.table.length);
    if (packets <= slot_packets_max && !has_room(device.next.data_address, packets))
        return report_no_room();

    const std::int32_t written = write_slot(device.fd, device.epld_version, device.next,
        is_new_generation(device.epld_version) ? type.new_generation : type.old_generation, device.table);
    if (written < 0)
        return false;
    device.next.header_address += slot_header_size;
    device.next.data_address += static_cast<std::uint32_t>(written);
    return true;
}

bool program_common_tables(programming& device, const service_list& services)
{
    return std::ranges::all_of(common_tables, [&](const table_slot& slot) {
        const std::int32_t length = slot.build(device.table, services);
        return load_table(device, length, slot.pid, slot.type);
    });
}

bool program_pmts(programming& device, const driver_state& state, const service_list& services)
{
    for (std::uint32_t i = 0; i < services.count; ++i) {
        const auto program_number =
            static_cast<std::int32_t>(static_cast<std::uint32_t>(services.first_service_id) + i);
        const auto subtitle_pid =
            static_cast<std::int32_t>(state.multi_service ? pids::first_subtitle + i : 0);
        const std::int32_t length = create_pmt_table(device.table, program_number,
            state.audio_enabled ? pids::audio : 0, state.audio_stream_type, subtitle_pid);
        if (!load_table(device, length, pids::first_pmt + i, program_type))
            return false;
    }
    return true;
}

bool program_tables(programming& device, const driver_state& state)
{
    const service_list services{.first_service_id = number_setting(service_id_setting),
        .count = table_services(state),
        .articles = state.articles};
    return program_common_tables(device, services) && program_pmts(device, state, services);
}

void program_stream_slots(const programming& device, const stream_slot_pair& slots)
{
    const auto generation = static_cast<std::uint8_t>(device.epld_version);
    for (const stream_slot& slot : slots) {
        send_i2c_offset(device.fd, slot.header_address);
        send_i2c_header(
            device.fd, generation, empty_stream_type, slot.data_address, slot.capacity * packet_size);
    }
    std::printf("Use %zu slots of %d packets \n", slots.size(), slots[0].capacity);
    if (is_new_generation(device.epld_version)) {
        send_i2c_offset(device.fd, slots[1].header_address + slot_header_size);
        send_i2c_byte(device.fd, 0);
    }
}

} // namespace

std::uint32_t table_services(const driver_state& state)
{
    return state.multi_service ? state.service_count : 1;
}

std::uint32_t packet_area_start(const driver_state& state)
{
    constexpr std::uint32_t old_generation_start = 64;
    constexpr std::uint32_t other_headers = 7; // four tables, two stream slots, the end byte
    return is_new_generation(state.epld_version) ? slot_header_size * (table_services(state) + other_headers)
                                                 : old_generation_start;
}

std::optional<stream_slot_pair> lay_out_stream_slots(const slot_place& start)
{
    stream_slot_pair slots;
    constexpr std::uint32_t packet_of_each = packet_size * std::tuple_size_v<stream_slot_pair>;
    if (start.data_address > packet_memory_size - packet_of_each)
        return std::nullopt;
    const std::uint32_t capacity =
        std::min((packet_memory_size - start.data_address) / packet_of_each, slot_packets_max);

    slot_place next = start;
    for (stream_slot& slot : slots) {
        slot = {.header_address = next.header_address,
            .data_address = next.data_address,
            .capacity = static_cast<std::uint8_t>(capacity),
            .type = loaded_stream_type};
        next.header_address += slot_header_size;
        next.data_address += capacity * packet_size;
    }
    return slots;
}

std::int32_t write_slot(
    int fd, std::uint32_t epld_version, const slot_place& place, std::uint8_t type, dvb_table& table)
{
    const std::uint8_t stuffing = is_new_generation(epld_version) ? 0 : 1;
    const std::int32_t written = copyTableToEpld(fd, place.data_address, table, stuffing);
    if (written < 0)
        return written;
    send_i2c_offset(fd, place.header_address);
    // The header's format goes by the low 8 bits of the version, the packing of runs by all of them.
    send_i2c_header(fd, static_cast<std::uint8_t>(epld_version), type, place.data_address,
        static_cast<std::uint32_t>(written));
    return written;
}

std::optional<insertion_state> program_device(int fd, const driver_state& state)
{
    remove_tables(fd);
    send_i2c_insert(fd, 0);

    programming device{.fd = fd,
        .epld_version = state.epld_version,
        .next = {.header_address = 0, .data_address = packet_area_start(state)}};
    if (!program_tables(device, state))
        return std::nullopt;
    const auto slots = lay_out_stream_slots(device.next);
    if (!slots) {
        report_no_room();
        return std::nullopt;
    }
    program_stream_slots(device, *slots);
    send_i2c_insert(fd, 1);

    insertion_state insertion{.table = device.table, .slots = *slots};
    insertion.table.pid = pids::time;
    insertion.table.continuity_counter = 0;
    return insertion;
}
