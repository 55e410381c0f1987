#include "daemon.h"

#include "bus.h"
#include "bus_emulated.h"
#include "capture.h"
#include "temporary.h"

#include <gtest/gtest.h>

namespace {

TEST(Daemon, HasNothingToDoOnEthernet)
{
    const environment settings{{"PREF_SYSTEM_STREAMER_1_OUTPUT", "Ethernet"}};
    epld_model device{.requests_until_fault = 0};
    bus_close(attach(device));
    EXPECT_EQ(stdout_of([] { EXPECT_EQ(run_daemon("/nonexistent"), 0); }), "");
    EXPECT_EQ(device.requests_until_fault, 0) << "no request was made";
    EXPECT_FALSE(device_is_open());
}

TEST(Daemon, DoesNotOpenTheDeviceWithoutAVersion)
{
    epld_model device{.requests_until_fault = 0};
    bus_close(attach(device));
    EXPECT_EQ(stderr_of([] { EXPECT_EQ(run_daemon("/nonexistent"), -22); }),
        "cannot get epld version: No such file or directory\n");
    EXPECT_EQ(device.requests_until_fault, 0) << "no request was made";
    EXPECT_FALSE(device_is_open());
}

TEST(Daemon, ClosesTheDeviceAfterAFailedPollAndLeavesInsertionOn)
{
    const temporary_folder folder;
    const std::string version_file = write_file(folder, "version", "3\n");
    epld_model device{.requests_until_fault = 62}; // the read of the first poll behind programming
    bus_close(attach(device));
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(run_daemon(version_file.c_str()), -22); }),
        "Detect EPLD version 3\n"
        "No subtitle to play\n"
        "Use 2 slots of 8 packets \n"
        "can't read reg 0 on the EPLD2 !!!\n"
        "Waiting for slot ready failed !!!\n");
    EXPECT_FALSE(device_is_open());
    EXPECT_EQ(device.control, 0x10);
    EXPECT_EQ(device.violation_count, 0);
}

} // namespace
