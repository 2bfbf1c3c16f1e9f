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
