#include "tests/cli/korvcam_program.h"
#include "tests/support/surroundings.h"

#include <chrono>

namespace {

using support::Finished;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class KorvcamPipes : public support::KorvcamProgram
{
protected:
    /// What file(1) says of what a shell line writes.
    std::string kindOf(const std::string &line) const
    {
        const Finished done = shell("set -o pipefail; " + line + " | file -");
        EXPECT_EQ(done.status, 0) << line << ": " << done.errors;
        EXPECT_EQ(done.errors, "") << line;
        return done.output;
    }

    /// Runs a line whose standard input and output are a terminal.
    Finished onTerminal(const std::string &arguments) const
    {
        return support::runProgram(
            {"script", "-qefc",
             std::string(KORVCAM) + " --library " + CAMERA_LIBRARY + " --desk builtin " + arguments,
             "/dev/null"});
    }
};

TEST_F(KorvcamPipes, photographsOfEveryFormat)
{
    for (const std::string name : {"a.jpeg", "a.png", "a.bmp", "a.tif", "a.pdf", "a.ofd"})
        snap(name);
    EXPECT_THAT(shell("file a.*").output,
                testing::AllOf(HasSubstr("a.png:  PNG image data, 640 x 480"),
                               HasSubstr("a.tif:  TIFF image"), HasSubstr("a.pdf:  PDF document"),
                               HasSubstr("a.bmp:  PC bitmap")));
    EXPECT_THAT(names(), ElementsAre("a.bmp", "a.jpeg", "a.ofd", "a.pdf", "a.png", "a.tif"));
    const Finished several = run({"snap", "-r", "640x480", "-n", "2", "-o", file("b.png")});
    EXPECT_EQ(several.output, file("b-0001.png") + "\n" + file("b-0002.png") + "\n");
}

TEST_F(KorvcamPipes, filesGoToStandardOutputAndNothingElse)
{
    snap("a.jpg");
    EXPECT_THAT(kindOf("$K snap -r 640x480 -o -"), HasSubstr("JPEG image data"));
    EXPECT_THAT(kindOf("$K snap -r 640x480 --format png -o -"), HasSubstr("PNG image data"));
    EXPECT_THAT(kindOf("$K convert a.jpg -"), HasSubstr("JPEG image data"));
    EXPECT_THAT(kindOf("$K convert a.jpg --format bmp -o -"), HasSubstr("PC bitmap"));
    EXPECT_THAT(kindOf("$K combine a.jpg a.jpg -o -"), HasSubstr("PDF document"));
    EXPECT_THAT(kindOf("$K combine a.jpg --format tiff -o -"), HasSubstr("TIFF image"));
    EXPECT_THAT(names(), ElementsAre("a.jpg"));
}

TEST_F(KorvcamPipes, copyIsWholeToTheLastByte)
{
    snap("a.jpg");
    const Finished done = shell("$K convert a.jpg b.bmp >/dev/null && "
                                "$K convert a.jpg - --format bmp | cmp - b.bmp && "
                                "$K convert a.jpg --format bmp - >c.bmp && cmp b.bmp c.bmp");
    EXPECT_EQ(done.status, 0) << done.output << done.errors;
}

TEST_F(KorvcamPipes, standardInputIsASource)
{
    snap("a.jpg");
    const Finished done =
        shell("set -o pipefail; $K convert - b.png <a.jpg && cat b.png | $K convert - -o c.pdf && "
              "cat a.jpg | $K combine a.jpg - b.png -o d.pdf && pdfinfo d.pdf | grep Pages: && "
              "$K snap -r 640x480 -o - | $K convert - - --format png | $K combine - -o - | "
              "pdfinfo - | grep Pages:");
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.errors, "");
    EXPECT_THAT(
        lines(done.output),
        ElementsAre("b.png", "c.pdf", "d.pdf", testing::EndsWith(" 3"), testing::EndsWith(" 1")));
    EXPECT_THAT(names(), ElementsAre("a.jpg", "b.png", "c.pdf", "d.pdf"));
}

TEST_F(KorvcamPipes, listNamesFilesOnly)
{
    snap("a.jpg");
    std::filesystem::rename(file("a.jpg"), file("-"));
    const Finished done = shell("echo - | $K combine --from-file - -o b.pdf");
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output, "b.pdf\n");
}

TEST_F(KorvcamPipes, inputThatIsNoPictureIsNamed)
{
    snap("a.jpg");
    for (const char *line :
         {"$K convert - b.png </dev/null", "echo text | $K combine - -o b.pdf"}) {
        const Finished done = shell(line);
        EXPECT_EQ(done.status, 1) << line;
        EXPECT_THAT(done.errors, StartsWith("korvcam: standard input is not a picture")) << line;
    }
    const Finished partial = shell("echo text | $K combine - a.jpg -o b.pdf");
    EXPECT_EQ(partial.status, 1);
    EXPECT_EQ(partial.output, "b.pdf\n");
    EXPECT_THAT(names(), ElementsAre("a.jpg", "b.pdf"));
}

TEST_F(KorvcamPipes, closedInputIsNamed)
{
    if (support::isEmulated())
        GTEST_SKIP() << "an emulator's own file takes the place of the one that is closed";
    EXPECT_EQ(shell("$K convert - b.png <&-").errors,
              "korvcam: cannot read standard input: Bad file descriptor\n");
}

TEST_F(KorvcamPipes, terminalGetsNoPictureAndGivesNone)
{
    snap("a.jpg");
    const std::vector<std::string> commands = {"snap -o -", "convert " + file("a.jpg") + " -",
                                               "combine " + file("a.jpg") + " -o -"};
    for (const std::string &arguments : commands) {
        const Finished done = onTerminal(arguments);
        EXPECT_EQ(done.status, 2) << arguments;
        EXPECT_EQ(done.output,
                  "korvcam: standard output is a terminal; send the file on with > or |\r\n");
    }
    const Finished done = onTerminal("convert - " + file("b.png"));
    EXPECT_EQ(done.status, 2);
    EXPECT_THAT(done.output, StartsWith("korvcam: standard input is a terminal"));
    EXPECT_THAT(names(), ElementsAre("a.jpg"));
}

TEST_F(KorvcamPipes, whatDoesNotGoTogetherIsAUsageError)
{
    for (const std::string arguments :
         {"snap -n 2 -o -", "snap --format png -o a.png", "convert --format png a.jpg b.jpg",
          "snap --format gif -o -", "combine --format png a.jpg -o -", "combine - - -o a.pdf",
          "combine --from-file - - -o a.pdf", "scan -o -"}) {
        const Finished done = shell("$K " + arguments + " </dev/null");
        EXPECT_EQ(done.status, 2) << arguments;
        EXPECT_EQ(done.output, "") << arguments;
        EXPECT_THAT(done.errors, StartsWith("korvcam: ")) << arguments;
    }
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(KorvcamPipes, readersThatLeaveAreAFailureAndFullDisksToo)
{
    snap("a.jpg");
    const Finished left = shell("$K convert a.jpg - --format bmp | true; echo ${PIPESTATUS[0]}");
    EXPECT_EQ(left.output, "1\n");
    EXPECT_EQ(left.errors, "korvcam: cannot write to standard output: Broken pipe\n");
    const Finished full = shell("$K convert a.jpg - >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.errors, "korvcam: cannot write to standard output: No space left on device\n");
    EXPECT_EQ(shell("$K convert a.jpg - >&-").status, 1);
}

TEST_F(KorvcamPipes, slowReaderAndWriterDoNotKeepItFromStopping)
{
    snap("a.jpg");
    const auto start = std::chrono::steady_clock::now();
    const Finished reader = shell("{ timeout --preserve-status -s INT 1 $K convert a.jpg - "
                                  "--format bmp; echo $? >status; } | sleep 3; cat status");
    EXPECT_EQ(reader.output, "130\n") << reader.errors;
    const Finished writer =
        shell("sleep 3 | { timeout --preserve-status -s INT 1 $K convert - b.png; echo $?; }");
    EXPECT_EQ(writer.output, "130\n") << writer.errors;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_THAT(names(), ElementsAre("a.jpg", "status"));
}

} // namespace
