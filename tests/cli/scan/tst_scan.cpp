#include "tests/cli/korvcam_program.h"
#include "tests/support/surroundings.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <random>
#include <thread>

namespace {

using namespace std::chrono_literals;
using support::Finished;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

using Clock = std::chrono::steady_clock;

constexpr int kArrivalMs = 60'000; ///< for a page, on a busy machine

class KorvcamScan : public support::KorvcamProgram
{
protected:
    /// Turns pages quickly; only hands are slower than what they do to them.
    static Environment desk(const std::string &options = "")
    {
        return {{"KORV_CAMERA_DESK", "builtin:hands,speed=1.5" + options},
                {"KORV_CAMERA_REAL", "0"}};
    }

    std::vector<std::string> scanning(std::vector<std::string> arguments) const
    {
        const std::vector<std::string> start = {"scan", "-r", "640x480"};
        arguments.insert(arguments.begin(), start.begin(), start.end());
        return command(arguments);
    }

    Finished scan(const std::vector<std::string> &arguments) const
    {
        return support::runProgram(scanning(arguments), desk());
    }

    /// A scan whose input is `line` of a shell.
    Finished scanWith(const std::string &input, const std::string &arguments) const
    {
        return shell(input + " | $K scan -r 640x480 " + arguments);
    }

    static int pdfPages(const std::string &path)
    {
        const std::string text = support::runProgram({"pdfinfo", path}).output;
        const std::size_t at = text.find("Pages:");
        return at == std::string::npos ? 0 : std::atoi(text.c_str() + at + 6);
    }

    /// What the simulated desk says of the page: nothing for a photograph that is not its frame.
    static std::string accountIn(const std::string &path)
    {
        const std::string bytes = support::readFile(path);
        const std::size_t at = bytes.find("korv-desk");
        const std::string rest = at == std::string::npos ? "" : bytes.substr(at, 80);
        return rest.substr(rest.find("page="), rest.find(" still") - rest.find("page="));
    }

    std::string scanFolder() const
    {
        for (const std::string &name : names()) {
            if (name.rfind(".korvcam-scan-", 0) == 0)
                return file(name);
        }
        return {};
    }
};

TEST_F(KorvcamScan, takesEachTurnedPageOnce)
{
    if (support::isEmulated())
        GTEST_SKIP() << "hands turn the pages faster than an emulator sees them";
    const Finished done = scan({"-n", "4", "-o", file("page-%02d.jpg")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.errors, "");
    const std::vector<std::string> said = lines(done.output);
    ASSERT_EQ(said.size(), 4U);
    EXPECT_THAT(said[0], MatchesRegex("1  [0-9:]{8}  [0-9]+ kB  .*/page-01.jpg"));
    EXPECT_EQ(accountIn(file("page-01.jpg")), "page=0 hand=0");
    EXPECT_EQ(accountIn(file("page-02.jpg")), "page=1 hand=0");
    EXPECT_EQ(accountIn(file("page-03.jpg")), "page=2 hand=0");
    EXPECT_EQ(accountIn(file("page-04.jpg")), "page=3 hand=0");
    EXPECT_EQ(names().size(), 4U) << "nothing hidden is left";
}

TEST_F(KorvcamScan, ctrlCEndsItWithADocumentOfAllPages)
{
    support::Process process(scanning({"-o", file("a.pdf")}), desk());
    ASSERT_TRUE(process.waitForOutput("\n2  ", kArrivalMs));
    kill(process.pid(), SIGINT);
    const Finished done = process.wait();
    EXPECT_EQ(done.status, 0) << done.errors;
    const std::vector<std::string> said = lines(done.output);
    ASSERT_GE(said.size(), 3U);
    EXPECT_EQ(said.back(), file("a.pdf"));
    EXPECT_EQ(pdfPages(file("a.pdf")), static_cast<int>(said.size()) - 1);
    EXPECT_THAT(names(), ElementsAre("a.pdf"));
}

TEST_F(KorvcamScan, stoppedBeforeItsNumberOfPagesItSaysSoAndKeepsWhatThereIs)
{
    support::Process process(scanning({"-n", "500", "-o", file("a.ofd")}), desk());
    ASSERT_TRUE(process.waitForOutput("1  ", kArrivalMs));
    kill(process.pid(), SIGTERM);
    const Finished done = process.wait();
    EXPECT_EQ(done.status, 143);
    EXPECT_THAT(done.errors, HasSubstr("korvcam: terminated"));
    EXPECT_THAT(names(), ElementsAre("a.ofd"));
}

TEST_F(KorvcamScan, withoutAPageNothingIsWritten)
{
    const Finished done = scanWith("true", "--on key -o a.pdf");
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.errors, "korvcam: no page was taken; nothing was written\n");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(KorvcamScan, eachLineOfInputIsAPageAndItsEndTheEnd)
{
    const Finished done = scanWith("printf '\\nagain\\nno line'", "--on key -o 'a b.tif'");
    EXPECT_EQ(done.status, 0) << done.errors;
    const std::vector<std::string> said = lines(done.output);
    ASSERT_EQ(said.size(), 3U) << done.output;
    EXPECT_EQ(said.back(), "a b.tif");
    EXPECT_THAT(support::runProgram({"tiffinfo", file("a b.tif")}).output,
                testing::ContainsRegex("Page Number: 1"));
    EXPECT_THAT(names(), ElementsAre("a b.tif"));
}

TEST_F(KorvcamScan, intervalsTakeEveryKindOfPicture)
{
    for (const std::string kind : {"png", "bmp", "tif", "pdf"}) {
        const Finished done = scanWith(
            "true", "--interval 0.3 -n 2 --color gray --rotate left -o " + kind + "%d." + kind);
        EXPECT_EQ(done.status, 0) << done.errors;
        EXPECT_EQ(lines(done.output).size(), 2U);
    }
    EXPECT_THAT(names(),
                ElementsAre("bmp1.bmp", "bmp2.bmp", "pdf1.pdf", "pdf2.pdf", "png1.png", "png2.png",
                            "tif1.tif", "tif2.tif"));
    EXPECT_THAT(support::runProgram({"file", file("png1.png")}).output,
                HasSubstr("480 x 640, 8-bit gray"));
}

TEST_F(KorvcamScan, jsonHasOneObjectALine)
{
    const Finished done = scan({"--json", "-n", "1", "--rotate", "left", "-o", file("a.pdf")});
    EXPECT_EQ(done.status, 0) << done.errors;
    const std::vector<std::string> said = lines(done.output);
    ASSERT_EQ(said.size(), 2U);
    EXPECT_THAT(
        said[0],
        MatchesRegex("\\{\"page\":1,\"time\":\"[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}[+-][0-9:]{5}\","
                     "\"file\":\"[^\"]+page-00001.jpg\",\"size\":[0-9]+,"
                     "\"width\":480,\"height\":640\\}"));
    EXPECT_EQ(said[1], "{\"file\":\"" + file("a.pdf") + "\"}");
}

TEST_F(KorvcamScan, existingFilesStayUnlessForced)
{
    m_home.write("a.pdf", "mine");
    m_home.write("p1.jpg", "mine");
    const auto scanned = [&](const std::string &more) {
        const Finished done = scanWith("echo", "--on key " + more);
        EXPECT_EQ(done.status, 0) << done.errors;
        return lines(done.output).back();
    };
    EXPECT_EQ(scanned("-o a.pdf"), "a (1).pdf");
    EXPECT_THAT(scanned("-o p%d.jpg"), EndsWith("  p1 (1).jpg"));
    EXPECT_EQ(support::readFile(file("a.pdf")), "mine");
    EXPECT_EQ(scanned("-f -o a.pdf"), "a.pdf");
    EXPECT_THAT(scanned("-f -o p%d.jpg"), EndsWith("  p1.jpg"));
    EXPECT_GT(support::readFile(file("p1.jpg")).size(), 1000U);
}

TEST_F(KorvcamScan, picturesGoOnBehindTheHighestNumber)
{
    m_home.write("p-07.jpg", "seven");
    m_home.write("p-x.jpg", "no number");
    const Finished done = scanWith("echo", "--on key --resume -o p-%02d.jpg");
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_THAT(names(), ElementsAre("p-07.jpg", "p-08.jpg", "p-x.jpg"));
}

TEST_F(KorvcamScan, soundIsForTerminalsThatWantIt)
{
    const auto onTerminal = [&](const std::string &options) {
        return support::runProgram({"script", "-qefc",
                                    std::string(KORVCAM) + " --library " + CAMERA_LIBRARY
                                        + " --desk builtin scan -r 640x480 --interval 0.2 -n 2 -o "
                                        + file("x%d.jpg") + options + " </dev/null",
                                    "/dev/null"},
                                   {{"KORV_CAMERA_REAL", "0"}});
    };
    const Finished loud = onTerminal("");
    EXPECT_EQ(loud.status, 0);
    EXPECT_EQ(std::count(loud.output.begin(), loud.output.end(), '\a'), 2) << loud.output;
    EXPECT_THAT(onTerminal(" --quiet").output, Not(HasSubstr("\a")));
    EXPECT_THAT(scan({"-n", "1", "-o", file("y%d.jpg")}).errors, Not(HasSubstr("\a")));
}

TEST_F(KorvcamScan, silentCameraEndsItAndThePagesAreKept)
{
    const Finished done = support::runProgram(
        command({"scan", "--timeout", "1", "--interval", "0.1", "-o", file("p%d.jpg")},
                STUBBORN_CAMERA),
        {{"STUBBORN_CAMERA", "slow"}});
    EXPECT_EQ(done.status, 4) << "a frame every 1.5 seconds is too slow";
    EXPECT_THAT(done.errors, HasSubstr("the camera sent no picture in 1 s"));
    EXPECT_THAT(names(), ElementsAre("p1.jpg"));
}

// ---- killed ----

TEST_F(KorvcamScan, announcedPagesSurviveBeingKilledAndCanBeResumed)
{
    const char *const wanted = std::getenv("KORV_KILLS");
    const int kills = wanted ? std::atoi(wanted) : 10;
    std::mt19937 chance(1);
    for (int number = 0; number < kills; ++number) {
        const std::string document = file("k" + std::to_string(number) + ".pdf");
        std::size_t announced = 0;
        {
            support::Process process(scanning({"--interval", "0.1", "-n", "30", "-o", document}),
                                     {{"KORV_CAMERA_DESK", "builtin"}, {"KORV_CAMERA_REAL", "0"}});
            // not before the first page: there would be nothing to lose
            ASSERT_TRUE(process.waitForOutput("1  ", kArrivalMs));
            std::this_thread::sleep_for(std::chrono::microseconds(chance() % 3'000'000));
            kill(process.pid(), SIGKILL);
            const std::vector<std::string> said = lines(process.wait().output);
            announced = said.size();
            if (!said.empty() && said.back() == document)
                --announced; // it was done before
        }
        if (!std::filesystem::exists(document)) {
            // everything that was announced and at most the one that was on its way
            const Finished done =
                run({"scan", "--resume", "-n", std::to_string(announced), "-o", document});
            EXPECT_EQ(done.status, 0) << done.errors;
        }
        EXPECT_GE(pdfPages(document), static_cast<int>(announced)) << number;
        EXPECT_LE(pdfPages(document), static_cast<int>(announced) + 1) << number;
        EXPECT_EQ(scanFolder(), "") << number;
    }
}

TEST_F(KorvcamScan, nextStartOffersWhatAKilledScanLeft)
{
    {
        support::Process process(scanning({"-o", file("a.pdf")}), desk());
        ASSERT_TRUE(process.waitForOutput("1  ", kArrivalMs));
        kill(process.pid(), SIGKILL);
        process.wait();
    }
    EXPECT_THAT(run({"convert", "nothing.jpg", file("x.png")}).errors, Not(HasSubstr("--resume")));
    const Finished other = scanWith("echo", "--on key -o b.pdf");
    EXPECT_EQ(other.status, 0);
    EXPECT_THAT(other.errors,
                AllOf(HasSubstr("of an interrupted scan of a.pdf are kept"),
                      HasSubstr("`korvcam scan --resume -o a.pdf`"),
                      HasSubstr("./.korvcam-scan-")));
    const Finished wrong = scanWith("echo", "--on key --resume -o c.pdf");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_THAT(wrong.errors, HasSubstr("no interrupted scan of c.pdf is kept"));
    EXPECT_THAT(wrong.errors, HasSubstr("--resume -o a.pdf"));
    const Finished resumed = scanWith("echo", "--on key --resume -o a.pdf");
    EXPECT_EQ(resumed.status, 0) << resumed.errors;
    EXPECT_GE(pdfPages(file("a.pdf")), 2);
    EXPECT_THAT(names(), ElementsAre("a.pdf", "b.pdf"));
}

TEST_F(KorvcamScan, secondCtrlCLeavesThePagesForLater)
{
    std::vector<std::string> arguments =
        command({"scan", "--interval", "0.1", "-n", "2", "-o", file("a.pdf")}, STUBBORN_CAMERA);
    support::Process process(arguments, {{"STUBBORN_CAMERA", "slow"}, {"KORV_CAMERA_REAL", "0"}});
    ASSERT_TRUE(process.waitForOutput("\n2  ", kArrivalMs));
    // the library never finishes this document
    const auto deadline = Clock::now() + 20s;
    const auto isCombining = [&] {
        for (const auto &entry : std::filesystem::recursive_directory_iterator(folder())) {
            if (entry.path().extension() == ".half")
                return true;
        }
        return false;
    };
    while (!isCombining() && Clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    kill(process.pid(), SIGINT);
    const Finished done = process.wait();
    EXPECT_EQ(done.status, 130);
    EXPECT_THAT(done.errors, HasSubstr("interrupted; nothing was written"));
    EXPECT_THAT(done.errors, HasSubstr("the pages are kept; `korvcam scan --resume"));
    EXPECT_THAT(scanFolder(), Not(IsEmpty()));
}

TEST_F(KorvcamScan, folderThatIsNotThereIsNamed)
{
    const Finished done = scan({"-o", file("none/a.pdf")});
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(done.errors, HasSubstr("there is no folder"));
    EXPECT_EQ(scan({"-o", file("none/a%d.jpg")}).status, 1);
    EXPECT_EQ(scan({"--resume", "-o", file("none/a.pdf")}).status, 1);
}

} // namespace
