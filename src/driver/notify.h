#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <sys/socket.h>
#include <sys/un.h>

/// Whom the daemon tells how it is, by datagrams as of sd_notify(3), when it was started with NOTIFY_SOCKET
/// in its environment. Without it, nothing here makes a system call or looks at the clock.
struct service_manager {
    int socket = -1; ///< negative: there is none to tell. Never closed by the daemon
    sockaddr_un address{};
    socklen_t address_size = 0;
    bool watches = false; ///< wants to hear WATCHDOG=1 from time to time

    bool told_ready = false;
    std::uint32_t services = 0;
    bool subtitles = false;
    std::uint32_t refused_requests = 0; ///< until the load before
    std::array<bool, 2> sound_load{};   ///< of each stream slot: the bus refused nothing of its last load
    std::time_t last_sign = -1;         ///< of life: seconds since the epoch
    std::time_t (*clock)(std::time_t*) = std::time;
};

/// The service manager that NOTIFY_SOCKET names, by a path or, behind an @, in the abstract namespace. It
/// watches when WATCHDOG_USEC is set and WATCHDOG_PID names nobody else.
[[nodiscard]] service_manager find_service_manager();

/// The device has been programmed for so many services: from now on its loads count.
void expect_loads(service_manager& manager, std::uint32_t services, bool subtitles);

/// Tells that there is nothing to do, and that the end is not that of a failure.
void tell_idle(const service_manager& manager);

/// To be called when a stream slot, 0 or 1, has been loaded. The first load that the bus took without a
/// refusal makes the daemon ready. A slot that can be loaded again after such a load shows that the device
/// has taken it: that feeds the watchdog, once in a second at most.
void tell_load(service_manager& manager, std::uint32_t slot);

/// Tells that the TDT and TOT were loaded at that moment, and for how many services.
void tell_time_tables(const service_manager& manager, std::time_t at);
