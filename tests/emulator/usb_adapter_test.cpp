#include "usb_adapter.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using bytes = std::vector<std::uint8_t>;

/// The adapter with the device behind it, on a bus that takes no time.
struct plugged_in {
    std::unique_ptr<emulation> run = std::make_unique<emulation>();
    i2c_bus bus{.run = *run};
    usb_adapter adapter{.bus = bus};

    plugged_in()
    {
        run->bus_clock_hz = 0;
        run->device.control = 0x05;
        use_null_packets(run->stream, 1000);
    }

    std::optional<bytes> ask(const usb_setup& setup, bytes data)
    {
        const auto moved = answer_control(adapter, setup, data);
        if (!moved.has_value())
            return {};
        data.resize(*moved);
        return data;
    }

    /// A message as the driver sends it, and whether it was acknowledged, as the driver asks then. `where`
    /// says whether the message is the first (1) or the last (2) of its transaction, or both.
    bool put(std::uint8_t where, std::uint8_t address, bytes& data, std::uint8_t flags = 0)
    {
        const auto type = static_cast<std::uint8_t>(flags != 0 ? 0xC1 : 0x41);
        const auto number = static_cast<std::uint8_t>(4 | where);
        const auto size = static_cast<std::uint8_t>(data.size());
        EXPECT_EQ(answer_control(adapter, {type, number, flags, 0, address, 0, size, 0}, data), data.size());
        return ask({0xC1, 3, 0, 0, 0, 0, 1, 0}, bytes(1)) == bytes{1};
    }

    bool write(bytes data, std::uint8_t address = 5)
    {
        return put(3, address, data);
    }

    std::optional<bytes> read(std::uint8_t register_number, std::size_t size)
    {
        bytes selected{register_number};
        bytes data(size);
        if (!put(1, 5, selected) || !put(2, 5, data, 1))
            return {};
        return data;
    }
};

/// USB 2.0, 9.6: the rows are what the host asks when something is plugged in.
const struct {
    const char* what;
    usb_setup setup;
    std::size_t room;
    std::optional<bytes> answer;
} requests[] = {
    {"front of the device descriptor", {0x80, 6, 0, 1, 0, 0, 8, 0}, 8,
        bytes{18, 1, 0x10, 0x01, 0xFF, 0, 0, 64}},
    {"configuration descriptor", {0x80, 6, 0, 2, 0, 0, 255, 0}, 255,
        bytes{9, 2, 18, 0, 1, 1, 0, 0x80, 50, 9, 4, 0, 0, 0, 0xFF, 0, 0, 0}},
    {"languages", {0x80, 6, 0, 3, 0, 0, 255, 0}, 255, bytes{4, 3, 0x09, 0x04}},
    {"qualifier of a high speed", {0x80, 6, 0, 6, 0, 0, 10, 0}, 10, std::nullopt},
    {"configuration set", {0x00, 9, 1, 0, 0, 0, 0, 0}, 0, bytes{}},
    {"functions: I2C and what the kernel makes of it", {0xC1, 1, 0, 0, 0, 0, 4, 0}, 4,
        bytes{0x09, 0x00, 0xFF, 0x0E}},
    {"vendor request that there is not", {0xC1, 9, 0, 0, 0, 0, 4, 0}, 4, std::nullopt},
};

} // namespace

TEST(UsbAdapter, AnswersTheHost)
{
    plugged_in device;
    for (const auto& [what, setup, room, answer] : requests)
        EXPECT_EQ(device.ask(setup, bytes(room)), answer) << what;
}

TEST(UsbAdapter, AcknowledgesForTheDeviceAlone)
{
    plugged_in device;
    EXPECT_EQ(device.ask({0xC1, 3, 0, 0, 0, 0, 1, 0}, bytes(1)), bytes{2}) << "before there was a message";
    EXPECT_FALSE(device.write({0, 0}, 6)) << "another address";
    EXPECT_EQ(device.run->device.violation_count, 0U);
    EXPECT_FALSE(device.write({7, 0})) << "a register that there is not";
    EXPECT_FALSE(device.write(bytes(34, 32))) << "33 bytes into a register, and a block of SMBus has 32";
    EXPECT_EQ(device.run->device.violation_count, 2U);
    bytes selected{0};
    bytes value(1);
    EXPECT_TRUE(device.put(1, 5, selected));
    EXPECT_FALSE(device.put(3, 5, value, 1)) << "a read of its own, which selects no register";
    EXPECT_EQ(device.run->device.violation_count, 3U);
    device.bus.device_absent = true;
    EXPECT_FALSE(device.write({0, 0}));
    EXPECT_EQ(device.read(0, 1), std::nullopt);
    EXPECT_FALSE(device.write({})) << "the question whether there is somebody";
    EXPECT_EQ(device.run->device.violation_count, 3U);
}

/// A second daemon finds the device inserting. What it begins anew is no fault; what the first one did is.
TEST(UsbAdapter, JudgesEachProgrammingByItself)
{
    plugged_in device;
    const auto program_without_a_slot = [&] {
        return device.write({2, 7}) && device.write({0, 0x05}) && device.write({11, 0, 0})
            && device.write({32, 0, 0, 0, 0}) && device.write({0, 0x15});
    };
    ASSERT_TRUE(program_without_a_slot());
    EXPECT_THAT(faults_of(*device.run, device.bus.sessions), IsEmpty());
    device.run->statistics.by_pid[20].counter_errors = 1;
    device.run->now_ns = 3'600'000'000'000; // without a daemon, which is no fault
    ASSERT_TRUE(program_without_a_slot());
    EXPECT_EQ(device.run->statistics.by_pid[20].counter_errors, 0U);
    EXPECT_THAT(faults_of(*device.run, device.bus.sessions),
        ElementsAre("continuity counter broken on PID 20, 1 times"));
    device.run->record.error = ENOSPC;
    ASSERT_TRUE(program_without_a_slot());
    EXPECT_THAT(faults_of(*device.run, device.bus.sessions),
        ElementsAre("continuity counter broken on PID 20, 1 times",
            "an output file is incomplete: No space left on device"))
        << "that of the whole run is told once";
}
