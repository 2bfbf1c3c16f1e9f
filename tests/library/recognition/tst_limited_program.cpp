#include "library/recognition/limited_program.h"

#include "tests/library/support/script.h"
#include "tests/support/surroundings.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sched.h>
#include <thread>

using namespace korv;
using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

class LimitedProgramTest : public testing::Test
{
protected:
    Result<ProgramOutput> run(const std::string &commands, const std::string &input = {})
    {
        const Result<UniqueFd> file = memoryFile({ByteView(input.data(), input.size())});
        EXPECT_TRUE(file);
        const std::string script = testing_support::writeScript(m_folder / "program", commands);
        return runLimited({script, m_arguments, {"PATH=/usr/bin:/bin"}}, file.value().get(),
                          m_limits, m_stop);
    }
    double secondsOf(const std::string &commands, int expectedCode)
    {
        const auto begin = std::chrono::steady_clock::now();
        const Result<ProgramOutput> said = run(commands);
        EXPECT_EQ(said.code(), expectedCode) << (said ? said.value().text : said.error().text);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    }
    std::string content(const std::string &name) const
    {
        std::ifstream file(m_folder / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    testing_support::TemporaryFolder m_folder;
    std::vector<std::string> m_arguments;
    ProgramLimits m_limits;
    EventFd m_stop = EventFd::create().value();
};

/// Whether a process has the argument in its command line.
bool runsWith(const std::string &argument)
{
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "cmdline");
        const std::string line{std::istreambuf_iterator<char>(file), {}};
        if (line.find(argument) != std::string::npos)
            return true;
    }
    return false;
}

/// What was killed takes a moment to go.
bool isGone(const std::string &argument)
{
    for (int tries = 0; tries < 500 && runsWith(argument); ++tries)
        std::this_thread::sleep_for(20ms);
    return !runsWith(argument);
}

} // namespace

TEST_F(LimitedProgramTest, outputAndComplaintsAreKept)
{
    m_arguments = {"a b", "$HOME"};
    const auto said = run("cat; echo \"$1|$2|$#\"; echo oh >&2", "from memory\n");
    ASSERT_TRUE(said) << said.error().text;
    EXPECT_EQ(said.value().text, "from memory\na b|$HOME|2\n");
    EXPECT_EQ(said.value().complaints, "oh\n");
}

TEST_F(LimitedProgramTest, failureSaysWhy)
{
    const auto said = run("echo 'no such language' >&2; exit 3");
    EXPECT_EQ(said.code(), -EPROTO);
    EXPECT_THAT(said.error().text, HasSubstr("status 3: no such language"));
    EXPECT_THAT(run("kill -SEGV $$").error().text, HasSubstr("crashed (signal 11)"));
}

TEST_F(LimitedProgramTest, missingProgramIsAFailure)
{
    EXPECT_EQ(runLimited({m_folder / "none", {}, {}}, 0, m_limits, m_stop).code(), -EPROTO);
}

TEST_F(LimitedProgramTest, hangingProgramIsKilledWithWhatItStarted)
{
    m_limits.time = 300ms;
    const std::string argument = "98761." + std::to_string(::getpid());
    EXPECT_LT(secondsOf("sleep " + argument + " & sleep " + argument, -ETIMEDOUT), 10);
    EXPECT_TRUE(isGone(argument));
}

TEST_F(LimitedProgramTest, programThatClosesItsOutputAndHangsIsKilled)
{
    m_limits.time = 300ms;
    EXPECT_LT(secondsOf("exec >&- 2>&-; sleep 1000", -ETIMEDOUT), 10);
}

TEST_F(LimitedProgramTest, whatItLeavesBehindIsNotWaitedFor)
{
    const std::string argument = "98762." + std::to_string(::getpid());
    EXPECT_LT(secondsOf("sleep " + argument + " & exit 0", 0), 10);
    EXPECT_TRUE(isGone(argument));
}

TEST_F(LimitedProgramTest, stopEndsIt)
{
    std::thread stopper([&] {
        std::this_thread::sleep_for(200ms);
        m_stop.set();
    });
    EXPECT_LT(secondsOf("sleep 1000", -ECANCELED), 10);
    stopper.join();
    EXPECT_EQ(run("echo a").code(), -ECANCELED);
}

TEST_F(LimitedProgramTest, endlessOutputIsCutOff)
{
    m_limits.output = 100'000;
    EXPECT_LT(secondsOf("yes", -EMSGSIZE), 10);
    m_limits.time = 500ms;
    EXPECT_LT(secondsOf("yes >&2", -ETIMEDOUT), 10);
}

TEST_F(LimitedProgramTest, diskCannotBeFilled)
{
    const std::string file = m_folder / "big";
    EXPECT_EQ(run("head -c 1000000 /dev/zero > '" + file + "'").code(), -EPROTO);
    EXPECT_EQ(content("big"), "");
}

TEST_F(LimitedProgramTest, memoryIsLimited)
{
    if (!support::limitsMemory())
        GTEST_SKIP() << "an emulator forgets limits on memory";
    m_limits.memory = std::size_t{64} << 20;
    // the shell doubles a text until there is no memory
    EXPECT_EQ(run("a=aaaaaaaaaaaaaaaa; while :; do a=$a$a; done").code(), -EPROTO);
}

TEST_F(LimitedProgramTest, processorTimeIsLimited)
{
    // by the clock it takes longer on a machine that is busy with other things
    m_limits.time = 20s * support::slowness();
    m_limits.processorTime = 1s;
    m_limits.time = 60s; // a busy machine may take so long to give it that second
    const auto said = run("while :; do :; done");
    EXPECT_EQ(said.code(), -EPROTO);
    EXPECT_THAT(said.error().text, HasSubstr("processor time"));
}

TEST_F(LimitedProgramTest, runsAtALowPriorityAndWithUsualSignals)
{
    m_limits.priority = ProgramPriority::Idle;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto said = run("cat /proc/self/stat; grep SigBlk /proc/self/status; ls /proc/self/fd");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_TRUE(said);
    EXPECT_THAT(said.value().text, HasSubstr("SigBlk:\t0000000000000000"));
    // 0 to 2, and the folder that ls reads
    EXPECT_THAT(said.value().text, testing::EndsWith("\n0\n1\n2\n3\n"));
    // field 41 is the policy (proc(5)); the second one has no blanks here
    std::istringstream fields(said.value().text);
    std::string field;
    for (int i = 0; i < 41; ++i)
        fields >> field;
    EXPECT_EQ(field, std::to_string(SCHED_IDLE));
}

TEST_F(LimitedProgramTest, ignoredChildrenAreNoFailure)
{
    struct sigaction ignore = {};
    struct sigaction before = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGCHLD, &ignore, &before);
    const auto said = run("echo done");
    sigaction(SIGCHLD, &before, nullptr);
    ASSERT_TRUE(said) << said.error().text;
    EXPECT_EQ(said.value().text, "done\n");
}
