#include "stream_slot.h"

#include "bus_emulated.h"
#include "capture.h"

#include <gtest/gtest.h>

namespace {

constexpr stream_slot slot{.header_address = 20};
constexpr const char* not_ready = "Waiting for slot ready failed !!!\n";

TEST(StreamSlot, IsReadyWhenTheDeviceHasSentIt)
{
    epld_model device{.control = 0x10};
    device.memory = {0x83, 0x01, 0x00, 0xBC};
    device.memory[32] = 0x47;
    device.sending_stream = 0;
    const int fd = attach(device);
    EXPECT_TRUE(wait_until_ready(fd, {.header_address = 0}));
    EXPECT_EQ(device.now_us, 1000) << "one busy answer";
    EXPECT_TRUE(wait_until_ready(fd, {.header_address = 0}));
    EXPECT_EQ(device.now_us, 1000) << "no wait for a free slot";
}

TEST(StreamSlot, IsGivenUpAfterFiveThousandPollsOfAMillisecond)
{
    epld_model device;
    device.memory[20] = 0x83;
    const int fd = attach(device);
    bool ready = true;
    EXPECT_EQ(stdout_of([&] { ready = wait_until_ready(fd, slot); }), not_ready);
    EXPECT_FALSE(ready);
    EXPECT_EQ(device.now_us, 5'000'000);
}

TEST(StreamSlot, IsGivenUpAtTheFirstFailedRead)
{
    epld_model device{.requests_until_fault = 1};
    const int fd = attach(device);
    bool ready = true;
    EXPECT_EQ(stdout_of([&] { ready = wait_until_ready(fd, slot); }),
        std::string("can't read reg 0 on the EPLD2 !!!\n") + not_ready);
    EXPECT_FALSE(ready);
    EXPECT_EQ(device.now_us, 0);
}

} // namespace
