#include "insertion.h"

#include "table_transfer.h"
#include "tdt_tot.h"

#include <initializer_list>
#include <span>
#include <unistd.h>

namespace {

/// Slot 0 must not be armed before the device has taken slot 1 up, or it could send slot 0 first.
const stream_slot* slot_to_await(const insertion_state& insertion)
{
    return insertion.current_slot == 0 ? &insertion.slots[1] : nullptr;
}

/// The current slot has been loaded: the other one is next.
void next_slot(insertion_state& insertion)
{
    tell_load(insertion.manager, insertion.current_slot);
    insertion.current_slot = 1 - insertion.current_slot;
}

/// Sends a whole PES packet, in as many loads as it needs.
bool send_pes_packet(int fd, insertion_state& insertion, subtitle_stream& stream, const block& payload)
{
    start_pes_packet(stream, payload);
    while (stream.remaining != 0) {
        const stream_slot& slot = insertion.slots[insertion.current_slot];
        if (copyStreamToEpld(fd, slot, stream, slot_to_await(insertion)) < 0)
            return false;
        next_slot(insertion);
    }
    return true;
}

constexpr unsigned refresh_interval_s = 20;
constexpr unsigned check_interval_s = 1;

bool refresh_is_due(std::int64_t last_s, std::int64_t now_s)
{
    return now_s >= last_s + refresh_interval_s;
}

/// Loads the section in the record, `length` bytes long, into the current slot.
bool load_section(int fd, std::uint32_t epld_version, insertion_state& insertion, std::int32_t length)
{
    insertion.table.length = static_cast<std::uint32_t>(length);
    const stream_slot& slot = insertion.slots[insertion.current_slot];
    if (!wait_until_ready(fd, slot))
        return false;
    const slot_place place{.header_address = slot.header_address, .data_address = slot.data_address};
    if (write_slot(fd, epld_version, place, slot.type, insertion.table) < 0)
        return false;
    next_slot(insertion);
    return true;
}

/// Services are sent without a pause; after each cycle the time tables may be due.
void insert_services(int fd, driver_state& state, insertion_state& insertion)
{
    while (run_streaming_cycle(fd, state, insertion)
        && refresh_time_tables(fd, state.epld_version, insertion, std::time(nullptr))
            != refresh_result::failed) { }
}

void insert_time_tables(int fd, std::uint32_t epld_version, insertion_state& insertion)
{
    for (;;) {
        const refresh_result refresh = refresh_time_tables(fd, epld_version, insertion, std::time(nullptr));
        if (refresh == refresh_result::failed)
            return;
        // A clock that was set back must not make the loop spin.
        sleep(refresh == refresh_result::done ? refresh_interval_s : check_interval_s);
    }
}

} // namespace

bool run_streaming_cycle(int fd, driver_state& state, insertion_state& insertion)
{
    const auto services = std::span(state.streams).first(state.service_count);
    for (subtitle_stream& shown : services) {
        if (!send_pes_packet(fd, insertion, shown, *shown.display_set))
            return false;
        for (subtitle_stream& other : services)
            if (&other != &shown && !send_pes_packet(fd, insertion, other, *other.refresh))
                return false;
    }
    return true;
}

refresh_result refresh_time_tables(
    int fd, std::uint32_t epld_version, insertion_state& insertion, std::time_t now)
{
    if (!refresh_is_due(insertion.last_time_refresh, now))
        return refresh_result::not_due;
    insertion.last_time_refresh = now;

    for (const auto build : {create_tdt_table, create_tot_table}) {
        const std::int32_t length = build(insertion.table);
        if (!load_section(fd, epld_version, insertion, length))
            return refresh_result::failed;
    }
    tell_time_tables(insertion.manager, now);
    return refresh_result::done;
}

void insert_until_failure(int fd, driver_state& state, insertion_state& insertion)
{
    if (state.multi_service)
        insert_services(fd, state, insertion);
    else
        insert_time_tables(fd, state.epld_version, insertion);
}
