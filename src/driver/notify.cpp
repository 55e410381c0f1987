#include "notify.h"

#include "protocol.h"
#include "settings.h"
#include "text.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string_view>
#include <unistd.h>

namespace {

/// False when no socket can have that name.
bool set_address(service_manager& manager, std::string_view name)
{
    auto& path = manager.address.sun_path;
    if (name.size() < 2 || name.size() >= std::size(path) || (name[0] != '/' && name[0] != '@'))
        return false;
    manager.address.sun_family = AF_UNIX;
    std::ranges::copy(name, path);
    if (name[0] == '@')
        path[0] = '\0';
    manager.address_size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return true;
}

bool watchdog_is_ours()
{
    const auto pid = text_setting("WATCHDOG_PID");
    return text_setting("WATCHDOG_USEC").value_or("0") != "0" && (!pid || parse_decimal(*pid) == getpid());
}

/// What cannot be told is not told.
void tell(const service_manager& manager, std::string_view message, int flags)
{
    if (manager.socket >= 0)
        sendto(manager.socket, message.data(), message.size(), MSG_NOSIGNAL | flags,
            reinterpret_cast<const sockaddr*>(&manager.address), manager.address_size);
}

/// A manager that does not listen just now must hear of this, but not of what follows: the device must not
/// wait for it.
constexpr int wait_for_manager = 0;
constexpr int never_wait = MSG_DONTWAIT;

void tell_status(const service_manager& manager, const char* time)
{
    std::array<char, 128> message{};
    std::snprintf(message.data(), message.size(), "STATUS=%u service%s %s subtitles%s", manager.services,
        manager.services == 1 ? "" : "s", manager.subtitles ? "with" : "without", time);
    tell(manager, message.data(), never_wait);
}

void tell_ready(service_manager& manager)
{
    manager.told_ready = true;
    tell(manager, "READY=1", wait_for_manager);
    tell_status(manager, "");
}

void tell_sign_of_life(service_manager& manager)
{
    const std::time_t now = manager.clock(nullptr);
    if (now == manager.last_sign)
        return;
    manager.last_sign = now;
    tell(manager, "WATCHDOG=1", never_wait);
}

} // namespace

service_manager find_service_manager()
{
    service_manager manager;
    const auto name = text_setting("NOTIFY_SOCKET");
    if (!name || !set_address(manager, *name))
        return manager;
    manager.socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    manager.watches = watchdog_is_ours();
    return manager;
}

void expect_loads(service_manager& manager, std::uint32_t services, bool subtitles)
{
    manager.services = services;
    manager.subtitles = subtitles;
    manager.refused_requests = refused_requests();
}

void tell_idle(const service_manager& manager)
{
    tell(manager, "READY=1\nSTATUS=The output is on Ethernet: nothing to insert", wait_for_manager);
}

void tell_load(service_manager& manager, std::uint32_t slot)
{
    if (manager.socket < 0)
        return;
    const bool taken = manager.sound_load[slot];
    const std::uint32_t refused = refused_requests();
    manager.sound_load[slot] = refused == manager.refused_requests;
    manager.refused_requests = refused;
    if (!manager.told_ready && manager.sound_load[slot])
        tell_ready(manager);
    if (manager.watches && taken)
        tell_sign_of_life(manager);
}

void tell_time_tables(const service_manager& manager, std::time_t at)
{
    if (manager.socket < 0 || !manager.told_ready)
        return;
    std::tm utc{};
    std::array<char, 64> text{};
    if (gmtime_r(&at, &utc) != nullptr)
        std::strftime(text.data(), text.size(), ", last TDT %Y-%m-%d %H:%M:%S UTC", &utc);
    tell_status(manager, text.data());
}
