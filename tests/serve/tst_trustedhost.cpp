#include "cli/serve/escl/esclservice.h"

#include <gmock/gmock.h>

namespace {

TEST(TrustedHost, clientsNameAnAddressOrThisMachine)
{
    for (const char *const host :
         {"", "127.0.0.1", "127.0.0.1:8590", "192.168.1.2:8590", "[::1]", "[::1]:8590",
          "[fe80::1%25eth0]:8590", "localhost", "LocalHost:8590", "desk.local", "desk.local.:8590"})
        EXPECT_TRUE(cli::isTrustedHost(host)) << host;
}

TEST(TrustedHost, namesOfTheWebAreRefused)
{
    for (const char *const host : {"example.org", "example.org:8590", "localhost.example.org",
                                   "127.0.0.1.example.org", "[", "[example]", ":", "."})
        EXPECT_FALSE(cli::isTrustedHost(host)) << host;
}

} // namespace
