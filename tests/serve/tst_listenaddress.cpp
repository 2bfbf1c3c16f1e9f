#include "cli/serve/http/listenaddress.h"

#include <gmock/gmock.h>

namespace {

using cli::isListenAddress;
using cli::Listener;
using cli::listenOn;

TEST(ListenAddress, addressesHaveAPort)
{
    for (const char *const good : {"127.0.0.1:0", "0.0.0.0:65535", "[::1]:8590", "[::]:1"})
        EXPECT_TRUE(isListenAddress(good)) << good;
    for (const char *const bad :
         {"", ":", ":80", "127.0.0.1", "127.0.0.1:", "127.0.0.1:-1", "127.0.0.1:65536",
          "127.0.0.1:80 ", "::1:80", "[::1]", "[]:1", "localhost:80", "1.2.3:4"})
        EXPECT_FALSE(isListenAddress(bad)) << bad;
}

TEST(ListenAddress, aFreePortIsFound)
{
    const Listener listener = listenOn("127.0.0.1:0");
    ASSERT_EQ(listener.problem, "");
    EXPECT_GT(listener.port, 0);
    EXPECT_EQ(listener.host, "127.0.0.1");
    EXPECT_TRUE(listener.isLoopback);
    const Listener second = listenOn("127.0.0.1:" + std::to_string(listener.port));
    EXPECT_THAT(second.problem, testing::HasSubstr("Address already in use"));
}

TEST(ListenAddress, allInterfacesAreNotTheLoopback)
{
    EXPECT_FALSE(listenOn("0.0.0.0:0").isLoopback);
}

} // namespace
