#include "cli/session/devices.h"

#include <gtest/gtest.h>

namespace {

TEST(Devices, readsEveryMember)
{
    const auto devices = cli::parseDevices(
        R"([{"index":0,"name":"Desk","vid":6935,"pid":529},{"pid":1,"vid":10,"index":3,"name":"高拍仪"}])");
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(cli::describe(devices[0]), "0  1b17:0211  Desk");
    EXPECT_EQ(cli::describe(devices[1]), "3  000a:0001  高拍仪");
}

TEST(Devices, nodeAndSerialNumberAreShownWhereTheyAreKnown)
{
    const auto devices = cli::parseDevices(
        R"([{"index":0,"name":"A","vid":1,"pid":2,"node":"/dev/video0","serial":"S1"},)"
        R"({"index":1,"name":"B","vid":1,"pid":2,"node":"/dev/video2"},{"index":2,"name":"C"}])");
    ASSERT_EQ(devices.size(), 3U);
    EXPECT_EQ(cli::describeInFull(devices[0]), "0  0001:0002  A  /dev/video0  S1");
    EXPECT_EQ(cli::describeInFull(devices[1]), "1  0001:0002  B  /dev/video2");
    EXPECT_EQ(cli::describeInFull(devices[2]), "2  0000:0000  C");
    EXPECT_EQ(cli::describe(devices[0]), "0  0001:0002  A");
}

TEST(Devices, missingMembersReadAsNothing)
{
    const auto devices = cli::parseDevices(R"([{},{"name":5,"index":"1"}])");
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(cli::describe(devices[0]), "0  0000:0000  ");
    EXPECT_EQ(cli::describe(devices[1]), "0  0000:0000  ");
}

TEST(Devices, whatIsNoListIsEmpty)
{
    for (const char *text : {"", "{", "{}", "null", "[]", "7"})
        EXPECT_TRUE(cli::parseDevices(text).empty()) << text;
    EXPECT_TRUE(cli::parseDevices(nullptr).empty());
}

} // namespace
