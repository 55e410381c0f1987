#include "notify.h"

#include "bus_emulated.h"
#include "capture.h"
#include "protocol.h"
#include "temporary.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

/// The end of the socket at which the service manager listens.
struct listener {
    explicit listener(const std::string& name)
        : fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0))
    {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        std::ranges::copy(name, address.sun_path);
        if (name[0] == '@')
            address.sun_path[0] = '\0';
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), size), 0);
    }
    ~listener()
    {
        close(fd);
    }
    listener(const listener&) = delete;
    listener& operator=(const listener&) = delete;

    [[nodiscard]] std::vector<std::string> messages() const
    {
        std::vector<std::string> all;
        std::array<char, 256> text{};
        for (ssize_t size = 0; (size = recv(fd, text.data(), text.size(), 0)) >= 0;)
            all.emplace_back(text.data(), static_cast<std::size_t>(size));
        return all;
    }

    int fd;
};

struct load {
    std::time_t at = 0;
    std::uint32_t slot = 0;
    bool refused = false; ///< the bus refused one of its requests
};

const struct {
    const char* what;
    std::vector<load> loads;
    std::vector<std::string> messages;
} runs[] = {
    {"insertion begins", {{1, 0}}, {"READY=1", "STATUS=8 services with subtitles"}},
    {"nothing arrives", {{1, 0, true}, {2, 1, true}, {3, 0, true}, {4, 1, true}}, {}},
    {"the bus comes late", {{1, 0, true}, {2, 1}, {3, 0}, {4, 1}},
        {"READY=1", "STATUS=8 services with subtitles", "WATCHDOG=1"}},
    {"once in a second", {{1, 0}, {2, 1}, {3, 0}, {3, 1}, {4, 0}},
        {"READY=1", "STATUS=8 services with subtitles", "WATCHDOG=1", "WATCHDOG=1"}},
    {"a load does not arrive", {{1, 0}, {2, 1, true}, {3, 1}},
        {"READY=1", "STATUS=8 services with subtitles"}},
};

std::time_t moment;

TEST(Notify, TellsOfLoadsThatTheDeviceTook)
{
    const temporary_folder folder;
    const std::string name = folder.path / "notify";
    const listener listening(name);
    const environment started{{"NOTIFY_SOCKET", name}, {"WATCHDOG_USEC", "60000000"}};
    for (const auto& [what, loads, messages] : runs) {
        service_manager manager = find_service_manager();
        manager.clock = [](std::time_t*) { return moment; };
        expect_loads(manager, 8, true);
        for (const load& next : loads) {
            epld_model device{.requests_until_fault = next.refused ? 0 : epld_model::never};
            const int fd = attach(device);
            moment = next.at;
            stdout_of([&] { send_i2c_offset(fd, 0); });
            tell_load(manager, next.slot);
        }
        EXPECT_EQ(listening.messages(), messages) << what;
        close(manager.socket);
    }
}

TEST(Notify, TellsTheTimeOfTheLastTablesOnceItIsReady)
{
    const listener listening("@tsinsertd-test-" + std::to_string(getpid()));
    const environment started{{"NOTIFY_SOCKET", "@tsinsertd-test-" + std::to_string(getpid())},
        {"WATCHDOG_USEC", "60000000"}, {"WATCHDOG_PID", "1"}};
    service_manager manager = find_service_manager();
    EXPECT_FALSE(manager.watches);
    expect_loads(manager, 1, false);
    tell_time_tables(manager, 0);
    tell_load(manager, 0);
    tell_time_tables(manager, 1794787199); // date -u -d @1794787199
    tell_idle(manager);
    EXPECT_THAT(listening.messages(),
        testing::ElementsAre("READY=1", "STATUS=1 service without subtitles",
            "STATUS=1 service without subtitles, last TDT 2026-11-15 23:59:59 UTC",
            "READY=1\nSTATUS=The output is on Ethernet: nothing to insert"));
    close(manager.socket);
}

} // namespace
