#include "tests/cli/korvcam_program.h"

namespace {

using support::Finished;

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using KorvcamOutputs = support::KorvcamProgram;
using KorvcamMessages = support::KorvcamProgram;

// ---- names of what was written ----

TEST_F(KorvcamOutputs, everyCommandPrintsTheNextFreeName)
{
    snap("a.jpg");
    m_home.write("b.pdf", "mine");
    std::filesystem::create_symlink("nowhere", file("c.pdf"));
    const std::string photograph = support::readFile(file("a.jpg"));
    EXPECT_EQ(run({"snap", "-r", "640x480", "-o", file("a.jpg")}).output, file("a (1).jpg") + "\n");
    EXPECT_EQ(run({"convert", file("a.jpg"), file("b.pdf")}).output, file("b (1).pdf") + "\n");
    EXPECT_EQ(run({"convert", file("a.jpg"), file("b.pdf")}).output, file("b (2).pdf") + "\n");
    EXPECT_EQ(run({"combine", file("a.jpg"), "-o", file("c.pdf")}).output,
              file("c (1).pdf") + "\n");
    EXPECT_EQ(support::readFile(file("a.jpg")), photograph);
    EXPECT_EQ(support::readFile(file("b.pdf")), "mine");
    EXPECT_THAT(
        names(),
        ElementsAre("a (1).jpg", "a.jpg", "b (1).pdf", "b (2).pdf", "b.pdf", "c (1).pdf", "c.pdf"));
}

TEST_F(KorvcamOutputs, forceReplaces)
{
    for (const char *name : {"a.jpg", "b.pdf", "c.pdf"})
        m_home.write(name, "old");
    EXPECT_EQ(run({"snap", "--force", "-r", "640x480", "-o", file("a.jpg")}).output,
              file("a.jpg") + "\n");
    EXPECT_EQ(run({"convert", "-f", file("a.jpg"), file("b.pdf")}).output, file("b.pdf") + "\n");
    EXPECT_EQ(run({"combine", "-f", file("a.jpg"), "-o", file("c.pdf")}).output,
              file("c.pdf") + "\n");
    for (const char *name : {"a.jpg", "b.pdf", "c.pdf"})
        EXPECT_GT(support::readFile(file(name)).size(), 1000U) << name;
    EXPECT_THAT(names(), ElementsAre("a.jpg", "b.pdf", "c.pdf"));
}

TEST_F(KorvcamOutputs, runsThatWantOneNameEachPrintTheirOwn)
{
    snap("a.jpg");
    constexpr int kRuns = 4;
    std::set<std::string> printed;
    std::vector<std::unique_ptr<support::Process>> runs;
    for (int i = 0; i < kRuns; ++i)
        runs.push_back(
            std::make_unique<support::Process>(command({"convert", file("a.jpg"), file("b.pdf")})));
    for (const auto &process : runs) {
        const Finished done = process->wait();
        EXPECT_EQ(done.status, 0) << done.errors;
        EXPECT_TRUE(printed.insert(done.output).second) << done.output;
        EXPECT_TRUE(std::filesystem::exists(done.output.substr(0, done.output.size() - 1)));
    }
    EXPECT_EQ(names().size(), 1U + kRuns);
}

TEST_F(KorvcamOutputs, outputThatIsFullOrClosedIsAFailure)
{
    snap("a.jpg");
    EXPECT_EQ(shell("$K list >/dev/full").status, 1);
    EXPECT_EQ(shell("$K list >&-").status, 1);
    EXPECT_EQ(shell("$K modes >/dev/full").status, 1);
    EXPECT_EQ(shell("$K convert a.jpg b.pdf >/dev/full").status, 1);
    EXPECT_EQ(shell("$K --help >/dev/full").status, 1);
    EXPECT_EQ(shell("$K --version >&-").status, 1);
    EXPECT_EQ(shell("$K doctor --timeout 100 >/dev/full").status, 1);
    EXPECT_THAT(lines(shell("$K list >/dev/full").errors),
                ElementsAre("korvcam: cannot write to standard output: No space left on device"));
}

TEST_F(KorvcamOutputs, watchEndsWhenNobodyReads)
{
    const Finished done = shell("set -o pipefail; timeout 20 $K watch | true");
    EXPECT_EQ(done.status, 1) << done.errors;
}

TEST_F(KorvcamOutputs, closedDescriptorsDoNoHarmToAFile)
{
    const Finished done = shell("$K snap -r 640x480 -o a.jpg <&- >&- 2>&-; "
                                "$K convert a.jpg b.pdf <&- >&- 2>&-; "
                                "djpeg -pnm a.jpg >/dev/null && qpdf --check b.pdf");
    EXPECT_EQ(done.status, 0) << done.output << done.errors;
    EXPECT_THAT(names(), ElementsAre("a.jpg", "b.pdf"));
}

TEST_F(KorvcamOutputs, fileSizeLimitIsAnErrorOfTheWrite)
{
    snap("a.jpg");
    const Finished convert = shell("ulimit -f 10; exec $K convert a.jpg b.bmp");
    EXPECT_EQ(convert.status, 1);
    EXPECT_THAT(convert.errors, HasSubstr("File too large"));
    const Finished snapped = shell("ulimit -f 10; exec $K snap -r 640x480 -o c.jpg");
    EXPECT_EQ(snapped.status, 1);
    EXPECT_THAT(snapped.errors, HasSubstr("File too large"));
    EXPECT_THAT(names(), ElementsAre("a.jpg"));
}

// ---- pages ----

TEST_F(KorvcamOutputs, badPageIsNamedAndTheOthersAreWritten)
{
    std::vector<std::string> arguments{"combine"};
    for (int i = 0; i < 10; ++i) {
        const std::string name = "p" + std::to_string(i) + ".jpg";
        if (i == 4)
            m_home.write(name, "no picture");
        else
            snap(name);
        arguments.push_back(file(name));
    }
    const std::set<std::string> before = names();
    arguments.insert(arguments.end(), {"-o", file("a.pdf")});
    const Finished done = run(arguments);
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.output, file("a.pdf") + "\n");
    EXPECT_THAT(
        lines(done.errors),
        ElementsAre(StartsWith("korvcam: " + file("p4.jpg") + " is not a picture that can be read"),
                    "korvcam: the other pages were written"));
    EXPECT_EQ(support::runProgram({"qpdf", "--show-npages", file("a.pdf")}).output, "9\n");

    arguments.back() = file("b.pdf");
    arguments.emplace_back("--strict");
    const Finished strict = run(arguments);
    EXPECT_EQ(strict.status, 1);
    EXPECT_EQ(strict.output, "");
    EXPECT_THAT(strict.errors, HasSubstr(file("p4.jpg")));

    // nothing else: no page was kept under another name
    std::set<std::string> after = before;
    after.insert("a.pdf");
    EXPECT_EQ(names(), after);
}

TEST_F(KorvcamOutputs, failedCombineLeavesNothingBesideTheSources)
{
    snap("a.jpg");
    std::filesystem::create_directory(file("out"));
    const Finished done = shell("ulimit -f 10; exec $K combine a.jpg a.jpg -o out/d.pdf");
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(done.errors, Not(HasSubstr("rescued")));
    EXPECT_THAT(names(), ElementsAre("a.jpg", "out"));
    EXPECT_TRUE(std::filesystem::is_empty(file("out")));
}

TEST_F(KorvcamOutputs, pagesComeFromAListInItsOrder)
{
    snap("a b.jpg");
    snap("c.jpg");
    m_home.write("list", file("c.jpg") + "\n\n" + file("a b.jpg"));
    EXPECT_EQ(
        run({"combine", file("c.jpg"), "--from-file", file("list"), "-o", file("d.pdf")}).status,
        0);
    EXPECT_EQ(support::runProgram({"qpdf", "--show-npages", file("d.pdf")}).output, "3\n");
    EXPECT_EQ(shell("printf '%s\\n' 'a b.jpg' c.jpg | $K combine --from-file - -o e.pdf").status,
              0);
    EXPECT_EQ(support::runProgram({"qpdf", "--show-npages", file("e.pdf")}).output, "2\n");

    m_home.write("empty", "\n");
    EXPECT_EQ(run({"combine", "--from-file", file("empty"), "-o", file("f.pdf")}).status, 2);
    const Finished missing = run({"combine", "--from-file", file("none"), "-o", file("f.pdf")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.errors, HasSubstr("cannot read the list " + file("none")));
    EXPECT_EQ(run({"combine", "--from-file", file("c.jpg"), "-o", file("f.pdf")}).status, 1);
}

// ---- what is said ----

TEST_F(KorvcamMessages, everyLineBeginsWithTheProgramsName)
{
    snap("a.jpg");
    m_home.write("x.txt", "text");
    const std::vector<std::vector<std::string>> commands = {
        {},
        {"snp"},
        {"snap"},
        {"list", "extra"},
        {"snap", "-o", file("x.txt")},
        {"convert", file("x.txt"), file("y.pdf")},
        {"convert", file("none.jpg"), file("y.pdf")},
        {"convert", folder().string(), file("y.pdf")},
        {"convert", file("a.jpg"), file("none/y.pdf")},
        {"combine", file("x.txt"), file("a.jpg"), "-o", file("y.pdf")},
        {"combine", file("x.txt"), "-o", file("y.pdf")},
        {"modes", "-d", "7"},
        {"list", "--library", file("x.txt")},
        {"list", "--library", "/nowhere.so"},
    };
    for (const auto &arguments : commands) {
        const Finished done = run(arguments);
        EXPECT_NE(done.status, 0) << testing::PrintToString(arguments);
        EXPECT_THAT(lines(done.errors), Not(IsEmpty())) << testing::PrintToString(arguments);
        EXPECT_THAT(lines(done.errors), Each(StartsWith("korvcam: ")))
            << testing::PrintToString(arguments);
        EXPECT_THAT(done.errors, Not(HasSubstr("Bad message")));
        EXPECT_THAT(done.errors, Not(HasSubstr("Invalid argument")));
        EXPECT_THAT(done.errors, Not(HasSubstr(".korvcam-")));
    }
}

TEST_F(KorvcamMessages, wrongTypeIsAUsageErrorBeforePagesAreRead)
{
    const Finished combine = run({"combine", file("none.jpg"), "-o", file("d.png")});
    EXPECT_EQ(combine.status, 2);
    EXPECT_THAT(combine.errors, HasSubstr("unknown file type .png; known for documents: pdf"));
    EXPECT_THAT(combine.errors, Not(HasSubstr("none.jpg")));
    const Finished convert = run({"convert", file("none.jpg"), file("d.xyz")});
    EXPECT_EQ(convert.status, 2);
    EXPECT_THAT(convert.errors,
                HasSubstr("unknown file type .xyz; known: jpg, jpeg, png, bmp, tif, tiff, pdf, "
                          "ofd"));
}

TEST_F(KorvcamMessages, wrongCommandIsNamedWithTheNearestOne)
{
    EXPECT_THAT(run({"snpa"}).errors, HasSubstr("unknown command 'snpa'; did you mean 'snap'?"));
    EXPECT_THAT(run({"comb"}).errors, HasSubstr("did you mean 'combine'?"));
    EXPECT_THAT(run({"--desk", "builtin", "dokter"}).errors, HasSubstr("did you mean 'doctor'?"));
    EXPECT_THAT(run({"xxxxxxx"}).errors, Not(HasSubstr("did you mean")));
    EXPECT_THAT(run({"xxxxxxx"}).errors, HasSubstr("commands: list, modes"));
}

TEST_F(KorvcamMessages, picturesThatAreNoneAreNamed)
{
    m_home.write("x.txt", "text");
    EXPECT_THAT(run({"convert", file("x.txt"), file("y.pdf")}).errors,
                StartsWith("korvcam: " + file("x.txt") + " is not a picture that can be read"));
    EXPECT_THAT(run({"convert", folder().string(), file("y.pdf")}).errors,
                HasSubstr(" is a folder, not a picture"));
    EXPECT_THAT(run({"convert", file("x.txt"), file("none/y.pdf")}).errors,
                HasSubstr("there is no folder " + file("none")));
}

TEST_F(KorvcamMessages, cropThatFindsNoSheetSaysSo)
{
    // a camera that sees nothing but one colour
    const std::filesystem::path camera = folder() / "desk" / "1209:0001 Bare";
    std::filesystem::create_directories(camera);
    ASSERT_EQ(support::runProgram({"bash", "-c",
                                   "{ printf 'P6 640 480 255\\n'; head -c 921600 /dev/zero; } | "
                                   "cjpeg -outfile \"$0\"",
                                   (camera / "page.jpg").string()})
                  .status,
              0);
    const Environment environment{{"KORV_CAMERA_DESK", file("desk")}};
    const Finished done =
        run({"snap", "-r", "640x480", "--crop", "-o", file("a.jpg")}, environment);
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output, file("a.jpg") + "\n");
    EXPECT_THAT(done.errors, HasSubstr("no sheet was found"));
    const Finished found = run({"snap", "-r", "1280x720", "--crop", "-o", file("b.jpg")});
    EXPECT_EQ(found.status, 0);
    EXPECT_EQ(found.errors, "");
}

TEST_F(KorvcamMessages, deskOfLoosePicturesIsExplained)
{
    m_home.write("page.jpg", "content");
    const Environment environment{{"KORV_CAMERA_DESK", folder().string()}};
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"list"}, {"modes"}, {"snap", "-o", file("a.jpg")}, {"doctor"}}) {
        const Finished done = run(arguments, environment);
        EXPECT_EQ(done.status, 3);
        EXPECT_THAT(done.errors + done.output, HasSubstr("a camera is a sub-folder"));
    }
    EXPECT_THAT(run({"watch", "--seconds", "1"}, environment).errors,
                HasSubstr("a camera is a sub-folder"));
    EXPECT_THAT(run({"list"}, {{"KORV_CAMERA_DESK", file("none")}}).errors,
                HasSubstr("cannot open the simulated desk " + file("none")));
}

// ---- doctor ----

TEST_F(KorvcamMessages, doctorKnowsCamerasThatAreNotThere)
{
    const Finished done = run({"doctor", "-d", "3"});
    EXPECT_EQ(done.status, 3);
    EXPECT_THAT(done.output, HasSubstr("there is no camera 3"));
    EXPECT_THAT(done.output, Not(HasSubstr("No problem found")));
}

TEST_F(KorvcamMessages, doctorWorksWithoutATemporaryFolder)
{
    const Finished done = support::runProgram(
        command({"doctor"}, STUBBORN_CAMERA),
        {{"STUBBORN_CAMERA", "slow"}, {"KORV_CAMERA_DESK", "builtin"}, {"TMPDIR", "/nonexistent"}});
    EXPECT_EQ(done.status, 1) << done.output << done.errors; // of the frame rate
    EXPECT_THAT(done.output, HasSubstr("test photograph: OK"));
}

TEST_F(KorvcamMessages, doctorHeedsThatRealCamerasAreSwitchedOff)
{
    const Finished done = run({"doctor"}, {{"KORV_CAMERA_DESK", ""}});
    EXPECT_EQ(done.status, 3);
    EXPECT_THAT(done.output, HasSubstr("KORV_CAMERA_REAL=0"));
    EXPECT_THAT(done.output, Not(HasSubstr("no camera is plugged in")));
}

TEST_F(KorvcamMessages, doctorJudgesTheMachinesCamerasBesideADesk)
{
    if (std::filesystem::exists("/dev/video0"))
        GTEST_SKIP() << "there is a camera";
    const Finished done =
        run({"doctor"}, {{"KORV_CAMERA_DESK", "builtin"}, {"KORV_CAMERA_REAL", "1"}});
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(done.output, HasSubstr("no camera is plugged in"));
}

TEST_F(KorvcamMessages, doctorSeesThatMostFramesAreLeftOut)
{
    const Finished done =
        support::runProgram(command({"doctor"}, STUBBORN_CAMERA),
                            {{"STUBBORN_CAMERA", "slow"}, {"KORV_CAMERA_DESK", "builtin"}});
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(done.output, HasSubstr("pictures a second of 15.0"));
    EXPECT_THAT(done.output, HasSubstr("were left out"));
    EXPECT_THAT(done.output, Not(HasSubstr("No problem found")));
}

TEST_F(KorvcamMessages, doctorAdvisesOnTheLibrary)
{
    m_home.write("text.so", "text");
    const auto doctor = [](const std::string &library) {
        return support::runProgram({KORVCAM, "--library", library, "doctor"});
    };
    const Finished missing = doctor("/nowhere.so");
    EXPECT_EQ(missing.status, 5);
    EXPECT_THAT(missing.output,
                HasSubstr("/nowhere.so cannot be used: there is no such file; "
                          "install the package korv-camera-open"));
    EXPECT_THAT(doctor(file("text.so")).output, HasSubstr("it is not a shared library"));
    const Finished foreign = doctor(KORV_INCOMPLETE_CAMERAS "/libwithoutOpen.so");
    EXPECT_EQ(foreign.status, 5);
    EXPECT_THAT(foreign.output,
                HasSubstr("it is another library, or another version of it: it "
                          "lacks KorvCamera_Open; install"));
}

} // namespace
