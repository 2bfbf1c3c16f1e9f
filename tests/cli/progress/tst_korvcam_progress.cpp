#include "tests/cli/korvcam_program.h"
#include "tests/cli/progress/pseudo_terminal.h"
#include "tests/support/surroundings.h"

namespace {

using support::Finished;
using support::kErase;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class KorvcamProgress : public support::KorvcamProgram
{
protected:
    void SetUp() override
    {
        for (int i = 1; i <= 5; ++i)
            m_home.write(std::to_string(i) + ".jpg", std::string(100'000, 'x'));
    }

    /// What a terminal gets from a shell line, which finds the program as $K, with a library that
    /// reads three pictures and then never comes to an end; Ctrl-C does after two seconds.
    Finished onTerminal(const std::string &line, const Environment &more = {}) const
    {
        const std::string limit =
            "timeout --foreground -s INT " + std::to_string(2 * support::slowness()) + " ";
        Environment environment = {
            {"K", limit + KORVCAM + " --library " + STUBBORN_CAMERA},
            {"STUBBORN_CAMERA", "reading"},
            {"KORV_CAMERA_REAL", "0"},
            {"TERM", "xterm"},
            {"SHELL", "/bin/sh"},
            {"COLUMNS", "80"},
        };
        for (const auto &[name, value] : more)
            environment[name] = value;
        return support::runProgram(
            {"script", "-qec", "cd '" + folder().string() + "' && " + line, "/dev/null"},
            environment);
    }

    const std::string m_combine = "$K combine [1-5].jpg -o a.pdf";
};

TEST_F(KorvcamProgress, combineSaysHowManyPicturesAreRead)
{
    const Finished done = onTerminal(m_combine);
    EXPECT_THAT(done.output, StartsWith(kErase + "3 of 5 pictures read, "));
    EXPECT_THAT(done.output, HasSubstr(" left\r" + kErase));
    // the line is gone before the next message
    EXPECT_THAT(done.output,
                EndsWith("\r" + kErase + "korvcam: interrupted; nothing was written\r\n"));
}

TEST_F(KorvcamProgress, combineCountsPagesWhereTheLibraryDoes)
{
    for (const std::string sources : {"[1-5].jpg", "1.jpg"}) {
        const Finished done =
            onTerminal("STUBBORN_CAMERA=counting $K combine " + sources + " -o a.pdf");
        EXPECT_THAT(done.output, StartsWith(kErase + "7 of 80 pages, ")) << sources;
    }
}

TEST_F(KorvcamProgress, lineKeepsToTheTerminalsWidth)
{
    const Finished done = onTerminal(m_combine, {{"COLUMNS", "12"}});
    EXPECT_THAT(done.output, HasSubstr(kErase + "3 of 5 pict\r"));
    EXPECT_THAT(done.output, Not(HasSubstr("pictu")));
}

TEST_F(KorvcamProgress, convertSaysThatItIsStillWriting)
{
    EXPECT_THAT(onTerminal("$K convert 1.jpg a.png").output,
                StartsWith(kErase + "writing a.png, 0:01\r"));
}

TEST_F(KorvcamProgress, isChineseWhereTheLocaleIs)
{
    const Environment session = chineseSession();
    if (session.empty())
        GTEST_SKIP() << "no Chinese locale can be made; the package locales has its source";
    const Finished done = onTerminal(m_combine, session);
    EXPECT_THAT(done.output, StartsWith(kErase + "已读取 3/5 张图片，"));
}

TEST_F(KorvcamProgress, onlyATerminalThatCanRewriteALineGetsIt)
{
    const std::string end = "korvcam: interrupted; nothing was written\r\n";
    EXPECT_EQ(onTerminal(m_combine + " --no-progress").output, end);
    EXPECT_EQ(onTerminal(m_combine, {{"TERM", "dumb"}}).output, end);
    EXPECT_EQ(onTerminal(m_combine + " 2>errors; cat errors").output, end);
    EXPECT_EQ(onTerminal(m_combine + " 2>&1 | cat").output, end);
    // results may go into a file meanwhile
    EXPECT_THAT(onTerminal(m_combine + " >names").output, StartsWith(kErase));
}

TEST_F(KorvcamProgress, hasNoColours)
{
    // the only escape sequence erases a line
    std::string output = onTerminal(m_combine, {{"NO_COLOR", "1"}}).output;
    for (std::size_t at = output.find(kErase); at != std::string::npos; at = output.find(kErase))
        output.erase(at, kErase.size());
    EXPECT_THAT(output, Not(HasSubstr("\x1b")));
    EXPECT_THAT(output, HasSubstr("3 of 5"));
}

TEST_F(KorvcamProgress, programInTheBackgroundLeavesTheTerminalAlone)
{
    const Finished done = onTerminal("bash -c 'set -m; " + m_combine + " & wait $!'");
    EXPECT_THAT(done.output, StartsWith("korvcam: interrupted; nothing was written\r\n"));
    EXPECT_THAT(done.output, Not(HasSubstr("\x1b")));
}

/// The same with a desk and the real library.
class KorvcamSeriesProgress : public KorvcamProgress
{
protected:
    void SetUp() override { }

    Finished photograph(const std::string &line) const
    {
        return onTerminal(line,
                          {{"K", std::string(KORVCAM) + " --library " + CAMERA_LIBRARY},
                           {"KORV_CAMERA_DESK", "builtin"}});
    }
};

TEST_F(KorvcamSeriesProgress, snapCountsPhotographs)
{
    const Finished done = photograph("$K snap -r 640x480 -n 3 --interval 900 -o p.jpg");
    EXPECT_EQ(done.status, 0) << done.output;
    EXPECT_THAT(done.output, HasSubstr(kErase + "2 of 3 photographs, "));
    EXPECT_THAT(done.output, EndsWith(kErase + "p-0003.jpg\r\n"));
    for (const std::string quiet : {" --no-progress", " --json"}) {
        const Finished other =
            photograph("$K snap -r 640x480 -n 3 --interval 600 -f -o p.jpg" + quiet);
        EXPECT_EQ(other.status, 0) << other.output;
        EXPECT_THAT(other.output, Not(HasSubstr("\x1b"))) << quiet;
    }
}

TEST_F(KorvcamSeriesProgress, ourLibraryCountsThePagesThatItMakes)
{
    snap("p.jpg");
    const Environment counted = {{"KORV_CAMERA_PROGRESS", m_home.write("done", "").string()}};
    const auto expectPages = [&](const std::vector<std::string> &arguments,
                                 const std::string &pages) {
        const Finished done = run(arguments, counted);
        EXPECT_EQ(done.status, 0) << done.errors;
        EXPECT_EQ(support::readFile(file("done")), pages);
    };
    expectPages({"combine", file("p.jpg"), file("p.jpg"), "-o", file("two.tif")}, "2 2\n");
    expectPages({"combine", file("two.tif"), file("p.jpg"), "-o", file("a.pdf")}, "3 3\n");
    expectPages({"convert", file("two.tif"), file("b.pdf")}, "2 2\n");
}

TEST_F(KorvcamSeriesProgress, doctorSaysWhatItExamines)
{
    const Finished done = photograph("$K doctor --timeout 100");
    EXPECT_THAT(done.output, HasSubstr(kErase + "examining "));
    // the line is gone before the next finding
    EXPECT_THAT(done.output, HasSubstr("\r" + kErase + "     first picture"));
    for (const std::string quiet : {" --no-progress", " --json"})
        EXPECT_THAT(photograph("$K doctor" + quiet).output, Not(HasSubstr("\x1b"))) << quiet;
}

TEST_F(KorvcamProgress, onePhotographThatTakesItsTimeSaysSo)
{
    const std::string silent = "STUBBORN_CAMERA=silent $K ";
    const std::string end = "korvcam: the camera sent no picture in 1 s; run `korvcam doctor` to "
                            "find out why\r\n";
    for (const std::string command : {"snap --timeout 1 -o p.jpg", "calibrate --timeout 1"}) {
        EXPECT_THAT(onTerminal(silent + command).output, EndsWith(end)) << command;
        EXPECT_EQ(onTerminal(silent + command + " --no-progress").output, end) << command;
    }
    EXPECT_THAT(onTerminal(silent + "calibrate").output,
                StartsWith(kErase + "taking a photograph, 0:01\r"));
}

TEST_F(KorvcamSeriesProgress, scanCountsPages)
{
    const Finished done = photograph("$K scan -r 640x480 -n 3 --interval 0.9 -o a.pdf");
    EXPECT_EQ(done.status, 0) << done.output;
    EXPECT_THAT(done.output, HasSubstr(kErase + "2 of 3 pages, "));
    EXPECT_THAT(done.output, EndsWith("a.pdf\r\n"));
    const Finished quiet = photograph("$K scan -r 640x480 -n 3 --interval 0.6 --quiet -o b.pdf");
    EXPECT_EQ(quiet.status, 0) << quiet.output;
    EXPECT_THAT(quiet.output, Not(HasSubstr("\x1b")));
}

} // namespace
