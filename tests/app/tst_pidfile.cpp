#include "app/singleinstance.h"

#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::string kPidFile = std::string("/tmp/vexalin-") + "plixo-base.pid";
constexpr char kStart[] = "[func:getProcessIsRunning] [line:112] get process status\n";

/// Runs a function in a child process of its own, up to its end or until told to stop.
class Child
{
public:
    template <typename Function> explicit Child(Function function)
    {
        if (pipe(m_done.data()) < 0 || pipe(m_stop.data()) < 0)
            return;
        std::fflush(stdout);
        m_pid = fork();
        if (m_pid != 0)
            return;
        close(m_stop[1]);
        const int result = function();
        std::fflush(stdout);
        char byte = 'x';
        if (write(m_done[1], &byte, 1) == 1 && read(m_stop[0], &byte, 1) < 0)
            _exit(99);
        _exit(result);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child()
    {
        if (m_pid > 0)
            finish();
        for (const int end : {m_done[0], m_done[1], m_stop[0]})
            close(end);
    }

    pid_t pid() const { return m_pid; }

    /// Returns when the function has returned; the child lives on with what it holds.
    void waitUntilDone()
    {
        char byte = 0;
        ASSERT_EQ(read(m_done[0], &byte, 1), 1);
    }

    int finish()
    {
        close(m_stop[1]);
        int status = -1;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    std::array<int, 2> m_done{-1, -1};
    std::array<int, 2> m_stop{-1, -1};
    pid_t m_pid = -1;
};

} // namespace

/// The pid file's place is fixed: one test at a time, and what was there comes back.
class PidFileTest : public testing::Test
{
protected:
    PidFileTest()
        : m_turn(open("/tmp/korv-test-pidfile.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666))
    {
        flock(m_turn, LOCK_EX);
        if (std::filesystem::exists(kPidFile))
            m_before = support::readFile(kPidFile);
        std::filesystem::remove(kPidFile);
    }

    ~PidFileTest() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(kPidFile, ignored);
        if (m_before)
            std::ofstream(kPidFile, std::ios::binary) << *m_before;
        close(m_turn);
    }

    static mode_t modeOfFile()
    {
        struct stat status = {};
        return stat(kPidFile.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
    }

    int m_turn;
    std::optional<std::string> m_before;
    support::StdoutCapture m_output;
};

TEST_F(PidFileTest, firstProcessTakesTheLockAndWritesItsNumber)
{
    Child child([] {
        umask(077);
        return getProcessIsRunning();
    });
    child.waitUntilDone();
    EXPECT_EQ(support::readFile(kPidFile), std::to_string(child.pid()) + std::string(1, '\0'));
    EXPECT_EQ(modeOfFile(), 0666U);
    EXPECT_EQ(child.finish(), 0);
    EXPECT_EQ(m_output.take(), kStart);
}

TEST_F(PidFileTest, secondProcessIsToldThatOneRuns)
{
    Child first([] { return getProcessIsRunning(); });
    first.waitUntilDone();
    m_output.take();
    EXPECT_EQ(getProcessIsRunning(), 1);
    EXPECT_EQ(m_output.take(),
              kStart + ("file \"" + kPidFile) + "\" locked. proc already exit!!!\n");
    EXPECT_EQ(support::readFile(kPidFile), std::to_string(first.pid()) + std::string(1, '\0'))
        << "the file is left alone";
}

TEST_F(PidFileTest, lockEndsWithItsProcess)
{
    Child(([] { return getProcessIsRunning(); })).waitUntilDone();
    Child second([] { return getProcessIsRunning(); });
    second.waitUntilDone();
    EXPECT_EQ(second.finish(), 0);
}

TEST_F(PidFileTest, longerOldContentIsCutAway)
{
    std::ofstream(kPidFile) << "what stood here before was longer";
    Child child([] { return getProcessIsRunning(); });
    child.waitUntilDone();
    EXPECT_EQ(support::readFile(kPidFile), std::to_string(child.pid()) + std::string(1, '\0'));
    EXPECT_EQ(child.finish(), 0);
}

TEST_F(PidFileTest, fileThatCannotBeOpenedCountsAsRunning)
{
    std::filesystem::create_directory(kPidFile);
    EXPECT_EQ(getProcessIsRunning(), 1);
    EXPECT_EQ(m_output.take(),
              kStart + ("return fd = -1, can't open " + kPidFile) + ": Is a directory\n");
}
