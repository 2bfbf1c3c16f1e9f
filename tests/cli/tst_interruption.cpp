#include "tests/cli/korvcam_program.h"

#include <chrono>
#include <csignal>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using support::Finished;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Clock = std::chrono::steady_clock;

class KorvcamInterruption : public support::KorvcamProgram
{
protected:
    /// Waits until the stubborn library has begun to write.
    bool waitForHalfAFile() const
    {
        const auto deadline = Clock::now() + 10s;
        while (Clock::now() < deadline) {
            for (const auto &entry : std::filesystem::recursive_directory_iterator(folder())) {
                if (entry.path().extension() == ".half")
                    return true;
            }
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }

    /// Waits until the program has a descriptor by which it hears of signals; it would end without a
    /// word before.
    static bool waitUntilItListens(const support::Process &process)
    {
        const std::string folder = "/proc/" + std::to_string(process.pid()) + "/fd";
        const auto deadline = Clock::now() + 10s;
        while (Clock::now() < deadline) {
            std::error_code gone;
            for (const auto &entry : std::filesystem::directory_iterator(folder, gone)) {
                if (std::filesystem::read_symlink(entry.path(), gone) == "anon_inode:[signalfd]")
                    return true;
            }
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }

    support::Process start(const std::vector<std::string> &arguments, const std::string &way) const
    {
        return support::Process(command(arguments, STUBBORN_CAMERA),
                                {{"STUBBORN_CAMERA", way}, {"KORV_CAMERA_REAL", "0"}});
    }

    /// Sends the signal, waits, and expects an end within a second.
    static Finished stop(support::Process &process, int signal)
    {
        const auto sent = Clock::now();
        kill(process.pid(), signal);
        Finished done = process.wait();
        EXPECT_LT(Clock::now() - sent, 1s);
        return done;
    }
};

TEST_F(KorvcamInterruption, combineStopsWithinASecondAndLeavesNothing)
{
    m_home.write("1.jpg", "content");
    support::Process combine = start({"combine", file("1.jpg"), "-o", file("a.pdf")}, "endless");
    ASSERT_TRUE(waitForHalfAFile());
    const Finished done = stop(combine, SIGINT);
    EXPECT_EQ(done.status, 130);
    EXPECT_EQ(done.errors, "korvcam: interrupted; nothing was written\n");
    EXPECT_EQ(done.output, "");
    EXPECT_THAT(names(), ElementsAre("1.jpg"));
}

TEST_F(KorvcamInterruption, convertStopsWhenAServiceEnds)
{
    m_home.write("1.jpg", "content");
    support::Process convert = start({"convert", file("1.jpg"), file("a.pdf")}, "endless");
    ASSERT_TRUE(waitForHalfAFile());
    const Finished done = stop(convert, SIGTERM);
    EXPECT_EQ(done.status, 143);
    EXPECT_EQ(done.errors, "korvcam: terminated; nothing was written\n");
    EXPECT_THAT(names(), ElementsAre("1.jpg"));
}

TEST_F(KorvcamInterruption, realDocumentStopsInTheMiddle)
{
    snap("page.jpg");
    ASSERT_EQ(run({"convert", file("page.jpg"), file("page.png")}).status, 0);
    std::vector<std::string> arguments(5000, file("page.png"));
    arguments.insert(arguments.begin(), "combine");
    arguments.insert(arguments.end(), {"-o", file("a.pdf")});
    support::Process combine(command(arguments), {{"KORV_CAMERA_REAL", "0"}});
    ASSERT_TRUE(waitUntilItListens(combine));
    std::this_thread::sleep_for(500ms); // somewhere in the middle
    EXPECT_EQ(stop(combine, SIGINT).status, 130);
    EXPECT_THAT(names(), ElementsAre("page.jpg", "page.png"));
}

TEST_F(KorvcamInterruption, whatAKilledRunLeftGoesWithTheNextOne)
{
    m_home.write("1.jpg", "content");
    {
        support::Process combine =
            start({"combine", file("1.jpg"), "-o", file("a.pdf")}, "endless");
        ASSERT_TRUE(waitForHalfAFile());
        kill(combine.pid(), SIGKILL);
        combine.wait();
    }
    EXPECT_EQ(names().size(), 2U);
    // the process that was in the library went with its parent, which takes a moment
    for (int attempt = 0; attempt < 100 && names().size() > 1; ++attempt) {
        std::this_thread::sleep_for(20ms);
        run({"convert", file("1.jpg"), file("b.png")});
    }
    EXPECT_THAT(names(), ElementsAre("1.jpg"));
}

TEST_F(KorvcamInterruption, aRunningNeighbourKeepsItsFolder)
{
    m_home.write("1.jpg", "content");
    support::Process combine = start({"combine", file("1.jpg"), "-o", file("a.pdf")}, "endless");
    ASSERT_TRUE(waitForHalfAFile());
    snap("b.jpg");
    EXPECT_TRUE(waitForHalfAFile());
    EXPECT_EQ(names().size(), 3U);
    stop(combine, SIGTERM);
}

TEST_F(KorvcamInterruption, crashOfTheLibraryIsSaidAndLeavesNothing)
{
    m_home.write("1.jpg", "content");
    const Finished done = start({"convert", file("1.jpg"), file("a.pdf")}, "crash").wait();
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(done.errors, EndsWith("korvcam: the camera library crashed (signal 6)\n"));
    EXPECT_THAT(names(), ElementsAre("1.jpg"));
}

TEST_F(KorvcamInterruption, listThatNobodyWritesIsNotWaitedForLonger)
{
    ASSERT_EQ(mkfifo(file("list").c_str(), 0600), 0);
    for (const std::string line : {"exec \"$@\" 0<>list", "exec \"$@\""}) {
        const bool isInput = line.back() != '"';
        std::vector<std::string> arguments =
            command({"combine", "--from-file", isInput ? "-" : "list", "-o", "a.pdf"});
        arguments.insert(arguments.begin(), {"bash", "-c", "cd \"$0\" && " + line, folder()});
        support::Process combine(arguments);
        ASSERT_TRUE(waitUntilItListens(combine));
        const Finished done = stop(combine, SIGTERM);
        EXPECT_EQ(done.status, 143);
        EXPECT_EQ(done.errors, "korvcam: terminated; nothing was written\n");
    }
    EXPECT_THAT(names(), ElementsAre("list"));
}

TEST_F(KorvcamInterruption, doctorDoesNotTakeItForABrokenCable)
{
    support::Process doctor = start({"doctor", "--timeout", "60"}, "silent");
    ASSERT_TRUE(doctor.waitForOutput("0  0001:0002  Stubborn", 10'000));
    const Finished done = stop(doctor, SIGINT);
    EXPECT_EQ(done.status, 130);
    EXPECT_THAT(done.output, Not(HasSubstr("cable, a port")));
    EXPECT_THAT(done.output, Not(HasSubstr("Problem")));
    EXPECT_EQ(done.errors, "korvcam: interrupted before the examination was complete\n");
}

TEST_F(KorvcamInterruption, snapSaysSo)
{
    support::Process snap = start({"snap", "-o", file("a.jpg"), "--timeout", "60"}, "silent");
    ASSERT_TRUE(waitUntilItListens(snap));
    const Finished done = stop(snap, SIGINT);
    EXPECT_EQ(done.status, 130);
    EXPECT_EQ(done.errors, "korvcam: interrupted\n");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(KorvcamInterruption, limitedWatchSaysSoAndAnEndlessOneEndsWell)
{
    support::Process limited = start({"watch", "--seconds", "60"}, "silent");
    ASSERT_TRUE(waitUntilItListens(limited));
    EXPECT_EQ(stop(limited, SIGTERM).status, 143);
    support::Process endless = start({"watch"}, "silent");
    ASSERT_TRUE(waitUntilItListens(endless));
    EXPECT_EQ(stop(endless, SIGTERM).status, 0);
}

TEST_F(KorvcamInterruption, signalThatIsIgnoredFromTheStartStaysIgnored)
{
    support::Process watch({"bash", "-c", "trap '' HUP; exec \"$@\"", "bash", KORVCAM, "--library",
                            STUBBORN_CAMERA, "watch", "--seconds", "1"});
    ASSERT_TRUE(waitUntilItListens(watch));
    kill(watch.pid(), SIGHUP);
    EXPECT_EQ(watch.wait().status, 0);
}

} // namespace
