// How the library ends: with the process, in a forked child, by dlclose().
#include "tests/library/support/pictures.h"
#include "tests/library/support/program.h"
#include "tests/library/support/temporary_folder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing_support::TemporaryFolder;

namespace {

class Life : public testing::Test
{
protected:
    /// Runs life-program; a hang ends with status 137.
    ProgramResult run(const std::string &library, const std::string &scenario) const
    {
        // of a child that goes on after a fork, the thread sanitizer knows too little by default
        // memory and threads cannot be counted as lost where the process ends amid its threads, or
        // where a fork left them behind
        return runProgram({"timeout", "-s", "KILL", "60", "env", "KORV_CAMERA_DESK=builtin",
                           "TSAN_OPTIONS=report_thread_leaks=0", "ASAN_OPTIONS=detect_leaks=0",
                           KORV_LIFE_PROGRAM, library, scenario, m_picture});
    }

    TemporaryFolder m_folder;
    const std::string m_picture = [this] {
        const std::string path = m_folder / "page.jpg";
        testing_support::writeFile(path,
                                   testing_support::jpegOf(testing_support::wavyImage(320, 240)));
        // whose sides are no whole blocks
        testing_support::writeFile(
            path + ".sideways.jpg",
            testing_support::sidewaysJpegOf(testing_support::wavyImage(319, 239)));
        return path;
    }();
};

class LifeScenario : public Life, public testing::WithParamInterface<const char *>
{
};

INSTANTIATE_TEST_SUITE_P(All, LifeScenario,
                         testing::Values("exit-in-frame", "exit-in-frame-awaited", "exit-in-event",
                                         "fork", "fork-in-frame", "return-while-streaming"),
                         [](const auto &scenario) {
                             std::string name = scenario.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace

TEST_P(LifeScenario, endsAsTheContractSays)
{
#if defined(__SANITIZE_THREAD__)
    if (std::string(GetParam()).find("fork") == 0)
        GTEST_SKIP() << "this sanitizer knows no threads in a forked child";
#endif
    const ProgramResult done = run(KORV_LIBRARY_FILE, GetParam());
    EXPECT_EQ(done.status, 0) << done.errors;
}

TEST_F(Life, callsAfterMainAreAnswered)
{
    for (const char *scenario : {"call-after-main", "exit-in-frame-then-call"}) {
        const ProgramResult done = run(KORV_LIBRARY_FILE, scenario);
        EXPECT_EQ(done.status, 0) << done.errors;
        EXPECT_THAT(done.errors, HasSubstr("after main"));
    }
}

TEST_F(Life, unloadingWhileADriverHangsIsSafe)
{
    const ProgramResult done = run(KORV_STUCK_LIBRARY_FILE, "unload");
    EXPECT_EQ(done.status, 0) << done.errors;
}

TEST_F(Life, processEndsWhileADriverHangs)
{
    const ProgramResult done = run(KORV_STUCK_LIBRARY_FILE, "return-while-streaming");
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_THAT(done.errors, HasSubstr("/dev/video0: thread blocked in the driver"));
}
