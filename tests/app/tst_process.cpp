#include "app/process.h"

#include "util/ownenvironment.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <langinfo.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// What a child process prints on standard output, a pipe, up to its abrupt end: nothing is
/// flushed for it.
template <typename Function> std::string printedByAChild(Function function)
{
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) < 0)
        return "no pipe";
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        // reopened, since a program's own stream is untouched when it starts
        const std::string pipeName = "/proc/self/fd/" + std::to_string(ends[1]);
        if (std::freopen(pipeName.c_str(), "w", stdout) == nullptr)
            _exit(1);
        std::setlocale(LC_ALL, "C");
        function();
        _exit(0);
    }
    close(ends[1]);
    std::string text;
    std::array<char, 256> chunk{};
    for (ssize_t count = 0; (count = read(ends[0], chunk.data(), chunk.size())) > 0;)
        text.append(chunk.data(), static_cast<std::size_t>(count));
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0 ? text : text + "(child failed)";
}

const char *orNone(const char *text)
{
    return text != nullptr ? text : "unset";
}

} // namespace

TEST(ProcessTest, completeLinesLeaveAtOnce)
{
    const std::string text = printedByAChild([] {
        prepareProcess();
        std::printf("whole\nhalf");
    });
    EXPECT_EQ(text, "whole\n");
}

TEST(ProcessTest, textsAreUtf8WhateverTheEnvironmentSays)
{
    for (const char *locale : {"C", "POSIX", "nowhere"}) {
        SCOPED_TRACE(locale);
        const std::string text = printedByAChild([locale] {
            setenv("LC_ALL", locale, 1);
            prepareProcess();
            std::printf("%s %s %s\n", nl_langinfo(CODESET), std::setlocale(LC_CTYPE, nullptr),
                        orNone(std::getenv("LC_ALL")));
        });
        EXPECT_EQ(text, "UTF-8 C.UTF-8 unset\n");
    }
}

TEST(ProcessTest, utf8LocaleOfTheUserIsKept)
{
    const std::string text = printedByAChild([] {
        setenv("LC_ALL", "C.UTF-8", 1);
        prepareProcess();
        std::printf("%s\n", orNone(std::getenv("LC_ALL")));
    });
    EXPECT_EQ(text, "C.UTF-8\n");
}

TEST(ProcessTest, openGlIsLeftOutUnlessTheUserWantsIt)
{
    const std::string unset = printedByAChild([] {
        unsetenv("QT_XCB_GL_INTEGRATION");
        prepareProcess();
        std::printf("%s\n", orNone(std::getenv("QT_XCB_GL_INTEGRATION")));
    });
    EXPECT_EQ(unset, "none\n");
    const std::string chosen = printedByAChild([] {
        setenv("QT_XCB_GL_INTEGRATION", "xcb_egl", 1);
        prepareProcess();
        std::printf("%s\n", orNone(std::getenv("QT_XCB_GL_INTEGRATION")));
    });
    EXPECT_EQ(chosen, "xcb_egl\n");
}

TEST(ProcessTest, commandsGetTheEnvironmentOfTheStart)
{
    const std::string text = printedByAChild([] {
        setenv("LC_ALL", "POSIX", 1);
        unsetenv("LC_CTYPE");
        unsetenv("QT_XCB_GL_INTEGRATION");
        unsetenv("QT_AUTO_SCREEN_SCALE_FACTOR");
        setenv("QT_SCALE_FACTOR_ROUNDING_POLICY", "Floor", 1);
        setenv("KORV_WINDOW_GROWS", "1", 1);
        prepareProcess();
        const ownenvironment::Hidden hidden;
        static_cast<void>(!std::system("echo ${LC_ALL-unset} ${LC_CTYPE-unset} "
                                       "${QT_XCB_GL_INTEGRATION-unset} "
                                       "${QT_AUTO_SCREEN_SCALE_FACTOR-unset} "
                                       "${QT_SCALE_FACTOR_ROUNDING_POLICY-unset} "
                                       "${KORV_WINDOW_GROWS-unset}"));
    });
    EXPECT_EQ(text, "POSIX unset unset unset Floor unset\n");
}

TEST(ProcessTest, windowGrowsWhereItIsAskedForAndNotChosen)
{
    const struct
    {
        const char *request;
        const char *chosen;
        const char *expected;
    } rows[] = {{"1", nullptr, "1 PassThrough"},
                {"1", "0", "0 PassThrough"},
                {"0", nullptr, "unset unset"},
                {"", nullptr, "unset unset"},
                {nullptr, nullptr, "unset unset"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(orNone(row.request));
        const std::string text = printedByAChild([row] {
            const auto give = [](const char *name, const char *value) {
                value != nullptr ? setenv(name, value, 1) : unsetenv(name);
            };
            give("KORV_WINDOW_GROWS", row.request);
            give("QT_AUTO_SCREEN_SCALE_FACTOR", row.chosen);
            unsetenv("QT_SCALE_FACTOR_ROUNDING_POLICY");
            prepareProcess();
            std::printf("%s %s\n", orNone(std::getenv("QT_AUTO_SCREEN_SCALE_FACTOR")),
                        orNone(std::getenv("QT_SCALE_FACTOR_ROUNDING_POLICY")));
        });
        EXPECT_EQ(text, std::string(row.expected) + "\n");
    }
}

TEST(ProcessTest, writePastTheLimitFails)
{
    const std::string text = printedByAChild([] {
        prepareProcess();
        std::FILE *file = std::tmpfile();
        const rlimit limit{10, 10};
        setrlimit(RLIMIT_FSIZE, &limit);
        const ssize_t first = write(fileno(file), "0123456789", 10);
        const ssize_t second = write(fileno(file), "0", 1);
        std::printf("%zd %zd %s\n", first, second, std::strerror(errno));
    });
    EXPECT_EQ(text, "10 -1 File too large\n");
}

TEST(ProcessTest, writeToAReaderWhoHasLeftFails)
{
    const std::string text = printedByAChild([] {
        prepareProcess();
        std::array<int, 2> ends{-1, -1};
        const int made = pipe(ends.data());
        close(ends[0]);
        const ssize_t written = write(ends[1], "0", 1);
        std::printf("%d %zd %s\n", made, written, std::strerror(errno));
    });
    EXPECT_EQ(text, "0 -1 Broken pipe\n");
}

TEST(ProcessTest, commandsStartWithTheDefaultOfEachSignal)
{
    const std::string ignored = "grep -E 'Sig(Ign|Blk)' /proc/self/status";
    const std::string before =
        printedByAChild([&] { static_cast<void>(!std::system(ignored.c_str())); });
    const std::string after = printedByAChild([&] {
        prepareProcess();
        static_cast<void>(!std::system(ignored.c_str()));
    });
    EXPECT_EQ(after, before);
}
