#include "tests/cli/process.h"
#include "tests/support/temp_home.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace {

using support::Finished;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr int kArrivalMs = 10'000;

/// The real program with the real library and a simulated desk.
class Korvcam : public testing::Test
{
protected:
    static std::vector<std::string> command(std::vector<std::string> arguments,
                                            const std::string &desk)
    {
        const std::vector<std::string> start = {KORVCAM, "--library", CAMERA_LIBRARY, "--desk",
                                                desk};
        arguments.insert(arguments.begin(), start.begin(), start.end());
        return arguments;
    }

    static Finished run(const std::vector<std::string> &arguments,
                        const std::string &desk = "builtin")
    {
        return support::runProgram(command(arguments, desk));
    }

    std::string file(const std::string &name) const { return (m_home.scratch() / name).string(); }

    /// Width and height as djpeg sees them.
    static std::string jpegSize(const std::string &path)
    {
        const std::string ppm = support::runProgram({"djpeg", "-pnm", path}).output;
        const std::size_t start = ppm.find('\n') + 1;
        return ppm.substr(start, ppm.find('\n', start) - start);
    }

    void snap(const std::string &path) const
    {
        const Finished done = run({"snap", "-r", "640x480", "-o", path});
        ASSERT_EQ(done.status, 0) << done.errors;
    }

    support::TempHome m_home;
};

TEST_F(Korvcam, worksWithoutStandardDescriptors)
{
    for (const std::string closed : {"2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
        const std::string path = file("0001" + closed.substr(0, 1) + ".jpg");
        std::vector<std::string> start = {"sh", "-c", "exec \"$@\" " + closed, "sh"};
        const std::vector<std::string> snapping =
            command({"snap", "-r", "640x480", "-o", path}, "builtin");
        start.insert(start.end(), snapping.begin(), snapping.end());
        static_cast<void>(support::runProgram(start));
        EXPECT_EQ(jpegSize(path), "640 480") << closed;
    }
}

TEST_F(Korvcam, listsTheBuiltInCamera)
{
    const Finished done = run({"list"});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_THAT(done.output, MatchesRegex("0  [0-9a-f]{4}:[0-9a-f]{4}  [^\n]+\n"));
}

TEST_F(Korvcam, verboseShowsTheLibrarysDebugLines)
{
    const std::vector<std::string> snapping = {"snap", "-r", "640x480",    "--crop",
                                               "-f",   "-o", file("a.jpg")};
    const Finished quiet = run(snapping);
    EXPECT_THAT(quiet.errors, Not(HasSubstr("debug")));

    std::vector<std::string> verbosely = snapping;
    verbosely.insert(verbosely.begin(), "--verbose");
    const Finished verbose = run(verbosely);
    EXPECT_EQ(verbose.output, quiet.output);
    for (const char *line :
         {"built-in camera: opened as device 0, 6 resolutions, 3264x2448 chosen\n",
          "built-in camera: 640x480 chosen\n", "crop: confidence ", "photograph: read the markers ",
          ", decode ", ", find the sheet ", ", encode ", "built-in camera: closed\n"})
        EXPECT_THAT(verbose.errors, HasSubstr(line));
}

TEST_F(Korvcam, theLevelInTheEnvironmentWins)
{
    std::vector<std::string> listing = command({"--verbose", "list"}, "builtin");
    listing.insert(listing.begin(), {"env", "KORV_LOG=error"});
    const Finished chosen = support::runProgram(listing);
    EXPECT_THAT(chosen.errors, HasSubstr("[LoadLib]load camera sdk success"));
    EXPECT_THAT(chosen.errors, Not(HasSubstr("debug")));

    listing[1] = "KORV_LOG=loud";
    EXPECT_THAT(support::runProgram(listing).errors,
                HasSubstr("korvcamera: warning: KORV_LOG: loud: not a level; known are error, "
                          "warning, info and debug\n"));
}

TEST_F(Korvcam, emptyDeskHasNoCamera)
{
    const Finished done = run({"list"}, m_home.scratch());
    EXPECT_EQ(done.status, 3);
    EXPECT_EQ(done.output, "");
}

TEST_F(Korvcam, wrongUsageIsStatusTwo)
{
    EXPECT_EQ(run({"snap"}).status, 2);
    EXPECT_EQ(run({"dance"}).status, 2);
}

TEST_F(Korvcam, missingLibraryIsStatusFive)
{
    EXPECT_EQ(support::runProgram({KORVCAM, "--library", "/nowhere.so", "list"}).status, 5);
}

TEST_F(Korvcam, offersEightMegapixels)
{
    const Finished done = run({"modes"});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_THAT(done.output, HasSubstr("  3264x2448"));
    EXPECT_THAT(done.output, HasSubstr(" *\n"));
}

TEST_F(Korvcam, photographHasTheSizeAskedFor)
{
    snap(file("a.jpg"));
    EXPECT_EQ(jpegSize(file("a.jpg")), "640 480");
}

TEST_F(Korvcam, rotatedPhotographHasItsSidesSwapped)
{
    const Finished done = run({"snap", "-r", "640x480", "--rotate", "left", "-o", file("a.jpg")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(jpegSize(file("a.jpg")), "480 640");
}

TEST_F(Korvcam, photographsInARowDiffer)
{
    const Finished done = run({"snap", "-r", "640x480", "-n", "3", "-o", file("a.jpg")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output,
              file("a-0001.jpg") + "\n" + file("a-0002.jpg") + "\n" + file("a-0003.jpg") + "\n");
    const std::string first = support::readFile(file("a-0001.jpg"));
    const std::string second = support::readFile(file("a-0002.jpg"));
    EXPECT_FALSE(first.empty() || second.empty());
    EXPECT_NE(first, second);
    EXPECT_NE(second, support::readFile(file("a-0003.jpg")));
}

TEST_F(Korvcam, unwritableFolderIsAFailure)
{
    const Finished done = run({"snap", "-r", "640x480", "-o", file("missing/a.jpg")});
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(done.errors, HasSubstr("there is no folder"));
}

TEST_F(Korvcam, combinedPdfIsSoundAndHasEveryPage)
{
    ASSERT_EQ(run({"snap", "-r", "640x480", "-n", "3", "-o", file("a.jpg")}).status, 0);
    const Finished done = run({"combine", file("a-0001.jpg"), file("a-0002.jpg"),
                               file("a-0003.jpg"), "-o", file("out.pdf")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output, file("out.pdf") + "\n");
    EXPECT_EQ(support::runProgram({"qpdf", "--check", file("out.pdf")}).status, 0);
    EXPECT_EQ(support::runProgram({"qpdf", "--show-npages", file("out.pdf")}).output, "3\n");
}

TEST_F(Korvcam, convertsToEveryFormat)
{
    snap(file("a.jpg"));
    for (const char *name : {"b.jpg", "b.png", "b.bmp", "b.tiff", "b.pdf", "b.ofd"}) {
        const Finished done = run({"convert", file("a.jpg"), file(name)});
        EXPECT_EQ(done.status, 0) << name << ": " << done.errors;
    }
    EXPECT_EQ(jpegSize(file("b.jpg")), "640 480");
    EXPECT_THAT(support::readFile(file("b.png")), StartsWith("\x89PNG\r\n\x1a\n"));
    EXPECT_THAT(support::readFile(file("b.bmp")), StartsWith("BM"));
    EXPECT_THAT(support::runProgram({"tiffinfo", file("b.tiff")}).output,
                HasSubstr("Image Width: 640 Image Length: 480"));
    EXPECT_EQ(support::runProgram({"qpdf", "--check", file("b.pdf")}).status, 0);
    EXPECT_EQ(support::runProgram({"unzip", "-tq", file("b.ofd")}).status, 0);
}

TEST_F(Korvcam, takenNameStaysAndTheNewOneIsPrinted)
{
    snap(file("a.jpg"));
    m_home.write("b.pdf", "something else");
    const Finished done = run({"convert", file("a.jpg"), file("b.pdf")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output, file("b (1).pdf") + "\n");
    EXPECT_EQ(done.errors, "");
    EXPECT_EQ(support::readFile(file("b.pdf")), "something else");
    EXPECT_EQ(support::runProgram({"qpdf", "--check", file("b (1).pdf")}).status, 0);
}

TEST_F(Korvcam, unknownFormatAndBrokenPictureLeaveNoFile)
{
    snap(file("a.jpg"));
    EXPECT_EQ(run({"convert", file("a.jpg"), file("b.xyz")}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(file("b.xyz")));

    m_home.write("broken.jpg", "this is no picture");
    EXPECT_EQ(run({"convert", file("broken.jpg"), file("b.png")}).status, 1);
    EXPECT_FALSE(std::filesystem::exists(file("b.png")));
    EXPECT_EQ(run({"combine", file("broken.jpg"), "-o", file("b.pdf")}).status, 1);
    EXPECT_FALSE(std::filesystem::exists(file("b.pdf")));
}

TEST_F(Korvcam, watchTellsOfFoldersComingAndGoing)
{
    const std::filesystem::path desk = m_home.scratch() / "desk";
    const std::filesystem::path camera = desk / "1b17:0211 Late";
    std::filesystem::create_directory(desk);
    support::Process watch(command({"watch", "-n", "2"}, desk));
    // the folder is watched once the library is initialised, which nothing tells from outside
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    std::filesystem::create_directory(camera);
    EXPECT_TRUE(watch.waitForOutput("add  0  1b17:0211  Late\n", kArrivalMs));
    std::filesystem::remove(camera);
    const Finished done = watch.wait();
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output, "add  0  1b17:0211  Late\nremove  0  1b17:0211  Late\n");
}

TEST_F(Korvcam, terminationEndsAWatchWell)
{
    support::Process watch(command({"watch"}, "builtin"));
    ASSERT_TRUE(watch.waitForOutput("add  0", kArrivalMs));
    kill(watch.pid(), SIGTERM);
    const Finished done = watch.wait();
    EXPECT_EQ(done.status, 0) << done.errors;
}

} // namespace
