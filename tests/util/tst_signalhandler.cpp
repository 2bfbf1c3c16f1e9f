#include "util/signalhandler.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>

namespace {

int seen = 0;

void count(int)
{
    ++seen;
}

void other(int) { }

/// Gives a signal an effect and its default back at the end.
class SignalHandler : public testing::Test
{
protected:
    SignalHandler()
    {
        seen = 0;
        std::signal(SIGUSR1, SIG_DFL);
    }
    ~SignalHandler() override { std::signal(SIGUSR1, SIG_DFL); }
};

/// The line of a command's status that tells which signals it ignores.
std::string ignoredByACommand()
{
    std::array<char, 100> line{};
    std::FILE *pipe = popen("grep SigIgn /proc/self/status", "r");
    const char *read = std::fgets(line.data(), line.size(), pipe);
    pclose(pipe);
    return read != nullptr ? read : "nothing";
}

} // namespace

TEST_F(SignalHandler, isInstalledInPlaceOfTheDefault)
{
    EXPECT_TRUE(installSignalHandler(SIGUSR1, count));
    std::raise(SIGUSR1);
    std::raise(SIGUSR1);
    EXPECT_EQ(seen, 2);
}

TEST_F(SignalHandler, ignoredSignalStaysIgnored)
{
    std::signal(SIGUSR1, SIG_IGN);
    EXPECT_FALSE(installSignalHandler(SIGUSR1, count));
    std::raise(SIGUSR1);
    EXPECT_EQ(seen, 0);
}

TEST_F(SignalHandler, otherHandlerIsKept)
{
    std::signal(SIGUSR1, other);
    EXPECT_FALSE(installSignalHandler(SIGUSR1, count));
    std::raise(SIGUSR1);
    EXPECT_EQ(seen, 0);
}

TEST_F(SignalHandler, commandsStartWithTheDefault)
{
    const std::string before = ignoredByACommand();
    installSignalHandler(SIGUSR1, count);
    EXPECT_EQ(ignoredByACommand(), before);
    std::signal(SIGUSR1, SIG_IGN);
    EXPECT_NE(ignoredByACommand(), before) << "the comparison is expected to see a change";
}

TEST_F(SignalHandler, unknownNumberIsRefused)
{
    EXPECT_FALSE(installSignalHandler(1000, count));
    EXPECT_FALSE(installSignalHandler(SIGKILL, count));
}
