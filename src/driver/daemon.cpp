#include "daemon.h"

#include "bus.h"
#include "insertion.h"
#include "notify.h"
#include "programming.h"
#include "resources.h"
#include "services.h"
#include "startup.h"

#include <cstdio>

namespace {

constexpr int exit_done = 0;
constexpr int exit_failed = -22;

/// The open bus; closed at the end of its scope.
struct bus_handle {
    explicit bus_handle(int descriptor)
        : fd(descriptor)
    {
    }
    ~bus_handle()
    {
        if (fd >= 0)
            bus_close(fd);
    }
    bus_handle(const bus_handle&) = delete;
    bus_handle& operator=(const bus_handle&) = delete;

    int fd = -1;
};

bool bind_device(const bus_handle& bus)
{
    if (bus.fd < 0) {
        std::perror("Open modif_table_ovu317 driver");
        return false;
    }
    if (bus_bind(bus.fd) < 0) {
        std::perror("can't access I2C chip !!!");
        return false;
    }
    return true;
}

/// Returns after a failure only.
void drive_device(driver_state& state, const service_manager& manager)
{
    const bus_handle bus(bus_open());
    if (!bind_device(bus))
        return;
    auto insertion = program_device(bus.fd, state);
    if (!insertion)
        return;
    insertion->manager = manager;
    expect_loads(insertion->manager, table_services(state), state.multi_service);
    insert_until_failure(bus.fd, state, *insertion);
}

} // namespace

int run_daemon()
{
    const service_manager manager = find_service_manager();
    if (output_is_ethernet()) {
        tell_idle(manager);
        return exit_done;
    }

    if (auto state = start_up(epld_version_file)) {
        load_services(*state, resources_directory);
        if (prepare_services(*state, resources_directory))
            drive_device(*state, manager);
    }
    return exit_failed;
}
