#include "util/userfolders.h"

#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

namespace {

using support::ScopedVariable;

TEST(UserFolders, areNamedByTheEnvironment)
{
    const ScopedVariable configuration("XDG_CONFIG_HOME", "/somewhere/settings");
    const ScopedVariable cache("XDG_CACHE_HOME", "/somewhere/cache");
    EXPECT_EQ(userfolders::configuration(), "/somewhere/settings");
    EXPECT_EQ(userfolders::cache(), "/somewhere/cache");
}

TEST(UserFolders, areInTheHomeOtherwise)
{
    const ScopedVariable home("HOME", "/home/someone");
    const ScopedVariable configuration("XDG_CONFIG_HOME", std::nullopt);
    const ScopedVariable cache("XDG_CACHE_HOME", "not/absolute");
    EXPECT_EQ(userfolders::configuration(), "/home/someone/.config");
    EXPECT_EQ(userfolders::cache(), "/home/someone/.cache");
}

TEST(UserFolders, areNoneWithoutAHome)
{
    const ScopedVariable home("HOME", "");
    const ScopedVariable configuration("XDG_CONFIG_HOME", "");
    const ScopedVariable cache("XDG_CACHE_HOME", std::nullopt);
    EXPECT_EQ(userfolders::configuration(), "");
    EXPECT_EQ(userfolders::cache(), "");
}

} // namespace
