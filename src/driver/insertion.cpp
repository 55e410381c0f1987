#include "insertion.h"

#include "streaming.h"
#include "table_transfer.h"
#include "tdt_tot.h"

#include <limits>
#include <unistd.h>

namespace {

constexpr std::time_t refresh_interval_s = 20;
constexpr std::time_t check_interval_s = 1;

bool refresh_is_due(std::time_t last, std::time_t now)
{
    constexpr std::time_t last_followed = std::numeric_limits<std::time_t>::max() - refresh_interval_s;
    return last <= last_followed && now >= last + refresh_interval_s;
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
    insertion.current_slot = 1 - insertion.current_slot;
    return true;
}

} // namespace

refresh_result refresh_time_tables(
    int fd, std::uint32_t epld_version, insertion_state& insertion, std::time_t now)
{
    if (!refresh_is_due(insertion.last_time_refresh, now))
        return refresh_result::not_due;
    insertion.last_time_refresh = now;

    const bool loaded = load_section(fd, epld_version, insertion, create_tdt_table(insertion.table))
        && load_section(fd, epld_version, insertion, create_tot_table(insertion.table));
    return loaded ? refresh_result::done : refresh_result::failed;
}

void insert_until_failure(int fd, driver_state& state, insertion_state& insertion)
{
    for (;;) {
        if (state.multi_service && !run_streaming_cycle(fd, state, insertion))
            return;
        const refresh_result refresh =
            refresh_time_tables(fd, state.epld_version, insertion, std::time(nullptr));
        if (refresh == refresh_result::failed)
            return;
        // A clock that was set back must not make the loop spin.
        if (!state.multi_service)
            sleep(static_cast<unsigned>(
                refresh == refresh_result::done ? refresh_interval_s : check_interval_s));
    }
}
