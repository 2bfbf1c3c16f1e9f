#include "library/base/log.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

using namespace korv;

namespace {

constexpr LogLevel kLevels[] = {LogLevel::Error, LogLevel::Warning, LogLevel::Info,
                                LogLevel::Debug};

/// The variable is read once in a process, so each case has a process of its own, whose standard
/// error the test compares.
class Log : public testing::Test
{
protected:
    Log() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~Log() override { ::unsetenv("KORV_LOG"); }

    static void choose(const char *level)
    {
        if (level)
            ::setenv("KORV_LOG", level, 1);
        else
            ::unsetenv("KORV_LOG");
    }

    [[noreturn]] static void writeAllLevels()
    {
        for (const LogLevel level : kLevels)
            logLine(level, "text");
        std::exit(0);
    }
};

} // namespace

TEST_F(Log, writesUpToInfoByDefault)
{
    for (const char *level : {static_cast<const char *>(nullptr), "", "info"}) {
        choose(level);
        EXPECT_EXIT(writeAllLevels(), testing::ExitedWithCode(0),
                    "^korvcamera: error: text\n"
                    "korvcamera: warning: text\n"
                    "korvcamera: info: text\n$");
    }
}

TEST_F(Log, writesDebugLinesWhenAsked)
{
    choose("debug");
    EXPECT_EXIT(writeAllLevels(), testing::ExitedWithCode(0), "korvcamera: debug: text\n$");
}

TEST_F(Log, leavesOutWhatMattersLess)
{
    choose("warning");
    EXPECT_EXIT(writeAllLevels(), testing::ExitedWithCode(0),
                "^korvcamera: error: text\nkorvcamera: warning: text\n$");
    choose("error");
    EXPECT_EXIT(writeAllLevels(), testing::ExitedWithCode(0), "^korvcamera: error: text\n$");
}

TEST_F(Log, reportsALevelThatItDoesNotKnowOnce)
{
    for (const char *level : {"verbose", "DEBUG", "debug "}) {
        choose(level);
        EXPECT_EXIT(writeAllLevels(), testing::ExitedWithCode(0),
                    "^korvcamera: warning: KORV_LOG: " + std::string(level)
                        + ": not a level; known are error, warning, info and debug\n"
                          "korvcamera: error: text\n"
                          "korvcamera: warning: text\n"
                          "korvcamera: info: text\n$");
    }
}

TEST_F(Log, joinsThePartsThatAreNotEmpty)
{
    testing::internal::CaptureStderr();
    logLine(LogLevel::Warning, "/dev/video0 (Cam)", "cannot start", "busy");
    logLine(LogLevel::Warning, "/dev/video0 (Cam)", "", "busy");
    logLine(LogLevel::Warning, "", "cannot start", "busy");
    logLine(LogLevel::Warning, "", "", "busy");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "korvcamera: warning: /dev/video0 (Cam): cannot start: busy\n"
              "korvcamera: warning: /dev/video0 (Cam): busy\n"
              "korvcamera: warning: cannot start: busy\n"
              "korvcamera: warning: busy\n");
}

TEST_F(Log, makesTheTextOfADebugLineOnlyToWriteIt)
{
    const auto make = [](int &made) {
        logDebug([&] {
            ++made;
            return std::string("text");
        });
        std::exit(made);
    };
    int made = 0;
    choose("info");
    EXPECT_EXIT(make(made), testing::ExitedWithCode(0), "^$");
    choose("debug");
    EXPECT_EXIT(make(made), testing::ExitedWithCode(1), "^korvcamera: debug: text\n$");
}

TEST_F(Log, outlivesADebugTextThatCannotBeMade)
{
    choose("debug");
    EXPECT_EXIT(
        {
            logDebug([]() -> std::string { throw std::bad_alloc(); });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^korvcamera: debug: dropped a debug line: out of memory\n$");
}
