#include "app/singleinstance.h"

#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <dlfcn.h>

namespace {

/// What the program under test asked the shell for, and whether it gets an answer.
struct PipeLog
{
    std::string command;
    std::string mode;
    int calls = 0;
    bool fails = false;
};

PipeLog pipeLog;

// In pieces, so that no command line of ours ever holds the name.
const std::string kName = std::string("vexalin-") + "plixo-base";

} // namespace

/// Stands before the C library's function in this program.
extern "C" __attribute__((visibility("default"))) FILE *popen(const char *command, const char *mode)
{
    pipeLog.command = command;
    pipeLog.mode = mode;
    ++pipeLog.calls;
    if (pipeLog.fails) {
        errno = ENOMEM;
        return nullptr;
    }
    using Function = FILE *(*)(const char *, const char *);
    static const auto original = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "popen"));
    return original(command, mode);
}

class AppIsRunningTest : public testing::Test
{
protected:
    AppIsRunningTest()
        : m_path("PATH", (m_home.scratch() / "tools").string() + ":/usr/bin:/bin")
    {
        pipeLog = {};
        std::filesystem::create_directory(m_home.scratch() / "tools");
    }

    /// Makes `ps` print this.
    void processes(const std::string &listing)
    {
        const std::filesystem::path text = m_home.write("listing", listing);
        const std::filesystem::path tool = m_home.scratch() / "tools" / "ps";
        std::ofstream(tool) << "#!/bin/sh\n[ \"$*\" = -aux ] && exec cat '" << text.string()
                            << "'\n";
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    }

    static std::string searched(const std::string &rest, const std::string &listing)
    {
        return "getAppIsRunning() strName=" + rest + "\ngetAppIsRunning() Tmpstr=" + listing + "\n";
    }
    static std::string afterName(const std::string &text) { return kName.substr(1) + text; }

    static std::string refusal() { return "[getAppIsRunning][87]检测" + kName + " 已运行"; }

    support::TempHome m_home;
    support::ScopedVariable m_path;
    support::StdoutCapture m_output;
};

TEST_F(AppIsRunningTest, pipelineStandsAsItIs)
{
    processes("");
    getAppIsRunning();
    EXPECT_EQ(pipeLog.command, "ps -aux | grep  " + kName + " | grep -v grep | grep -v ps");
    EXPECT_EQ(pipeLog.mode, "r");
    EXPECT_EQ(pipeLog.calls, 1);
}

TEST_F(AppIsRunningTest, emptyListingMeansNotRunning)
{
    processes("root 1 init\n");
    EXPECT_EQ(getAppIsRunning(), 0);
    EXPECT_EQ(m_output.take(), "getAppIsRunning() Rlen=0\n");
}

TEST_F(AppIsRunningTest, pipeThatCannotBeOpenedMeansNotRunning)
{
    pipeLog.fails = true;
    EXPECT_EQ(getAppIsRunning(), 0);
    EXPECT_EQ(m_output.take(), "getAppIsRunning() Rlen=0\n");
}

TEST_F(AppIsRunningTest, ownProcessAloneMayStart)
{
    const std::string line = "me 7 /opt/bin/" + kName + "\n";
    processes("root 1 init\n" + line);
    EXPECT_EQ(getAppIsRunning(), 0);
    EXPECT_EQ(m_output.take(), searched(afterName("\n"), line));
}

TEST_F(AppIsRunningTest, secondProcessIsRefused)
{
    const std::string first = "me 7 /opt/bin/" + kName + "\n";
    const std::string second = "me 9 " + kName + " --any\n";
    processes(first + "me 8 vi\n" + second);
    EXPECT_EQ(getAppIsRunning(), 1);
    EXPECT_EQ(m_output.take(),
              searched(afterName("\n" + second), first + second)
                  + searched(afterName(" --any\n"), first + second) + refusal());
}

TEST_F(AppIsRunningTest, occurrencesCountNotLines)
{
    const std::string line = "me 7 " + kName + " " + kName + ".log\n";
    processes(line);
    EXPECT_EQ(getAppIsRunning(), 1);
    EXPECT_EQ(m_output.take(),
              searched(afterName(" " + kName + ".log\n"), line)
                  + searched(afterName(".log\n"), line) + refusal());
}

TEST_F(AppIsRunningTest, unrelatedProcessWithTheNameCounts)
{
    processes("me 7 " + kName + "\nyou 8 vi /home/you/" + kName + ".txt\n");
    EXPECT_EQ(getAppIsRunning(), 1);
}

TEST_F(AppIsRunningTest, linesWithTheTwoLettersAreNotSeen)
{
    processes("me 7 /home/caps/" + kName + "\nme 8 grep " + kName + "\n");
    EXPECT_EQ(getAppIsRunning(), 0);
    EXPECT_EQ(m_output.take(), "getAppIsRunning() Rlen=0\n");
}

TEST_F(AppIsRunningTest, listingIsCutAt4096Bytes)
{
    const std::string own = "me 7 " + kName + "\n";
    const std::string filler = "me 8 " + std::string(4096 - own.size() - 5, 'x');
    processes(own + filler + " " + kName + "\n");
    EXPECT_EQ(getAppIsRunning(), 0);
    EXPECT_EQ(m_output.take(), searched(afterName("\n" + filler), own + filler));
}

TEST_F(AppIsRunningTest, listingCutInsideTheNameDoesNotHoldIt)
{
    const std::string filler(4090, 'x');
    processes(filler + kName + "\n");
    EXPECT_EQ(getAppIsRunning(), 0);
    EXPECT_EQ(m_output.take(), "getAppIsRunning() position=-1\n");
}
