#include "tests/cli/korvcam_program.h"

#include <csignal>
#include <fstream>
#include <unistd.h>

using support::Finished;
using testing::HasSubstr;

namespace {

/// The program with another one in tesseract's place, which finds one word on each picture.
class KorvcamText : public support::KorvcamProgram
{
protected:
    void SetUp() override { install(""); }

    void install(const std::string &commands) const
    {
        const std::string path = file("bin/tesseract");
        std::filesystem::create_directories(folder() / "bin");
        std::ofstream(path)
            << "#!/bin/sh\n"
               "if [ \"$1\" = --list-langs ]; then echo eng; exit 0; fi\n"
               "read magic; read width height\n"
            << commands
            << "\nprintf 'level\\tpage_num\\tblock_num\\tpar_num\\tline_num\\tword_num\\tleft\\ttop"
               "\\twidth\\theight\\tconf\\ttext\\n'\n"
               "printf \"1\\t1\\t0\\t0\\t0\\t0\\t0\\t0\\t$width\\t$height\\t-1\\t\\n\"\n"
               "printf '5\\t1\\t1\\t1\\t1\\t1\\t1\\t2\\t30\\t10\\t90.0\\tfound\\n'\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
    Finished runWithText(const std::vector<std::string> &arguments) const
    {
        return run(arguments,
                   {{"KORV_CAMERA_DESK", "builtin"},
                    {"PATH", file("bin") + ":/usr/bin:/bin"},
                    {"XDG_CACHE_HOME", file("cache")}});
    }
    std::string textOf(const std::string &name) const
    {
        return support::runProgram({"pdftotext", "-nopgbrk", file(name), "-"}, {}).output;
    }
};

} // namespace

TEST_F(KorvcamText, combineAndConvertGiveAPdfItsText)
{
    snap("1.jpg");
    snap("2.jpg");
    const Finished combined = runWithText(
        {"combine", "--text", "eng", file("1.jpg"), file("2.jpg"), "-o", file("a.pdf")});
    EXPECT_EQ(combined.status, 0) << combined.errors;
    EXPECT_EQ(combined.errors, "");
    EXPECT_EQ(textOf("a.pdf"), "found\n\nfound\n\n");
    EXPECT_EQ(runWithText({"convert", "--text", "eng", file("1.jpg"), file("b.pdf")}).status, 0);
    EXPECT_EQ(textOf("b.pdf"), "found\n\n");
    EXPECT_EQ(runWithText({"convert", file("1.jpg"), file("c.pdf")}).status, 0);
    EXPECT_EQ(textOf("c.pdf"), "");
}

TEST_F(KorvcamText, whatWasRecognisedIsNotRecognisedAgain)
{
    snap("1.jpg");
    ASSERT_EQ(runWithText({"convert", "--text", "eng", file("1.jpg"), file("a.pdf")}).status, 0);
    install("exit 1");
    ASSERT_EQ(runWithText({"convert", "--text", "eng", file("1.jpg"), file("b.pdf")}).status, 0);
    EXPECT_EQ(textOf("b.pdf"), "found\n\n");
    std::filesystem::remove_all(folder() / "cache");
    const Finished failing =
        runWithText({"convert", "--text", "eng", file("1.jpg"), file("c.pdf")});
    EXPECT_EQ(failing.status, 0);
    EXPECT_THAT(failing.errors, HasSubstr("1.jpg: this page gets no text: ended with status 1"));
    EXPECT_EQ(textOf("c.pdf"), "");
}

TEST_F(KorvcamText, missingLanguageIsNamedAndTheDocumentMade)
{
    snap("1.jpg");
    const Finished done =
        runWithText({"combine", "--text", "chi_sim+eng", file("1.jpg"), "-o", file("a.pdf")});
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.errors, HasSubstr("package tesseract-ocr-chi-sim"));
    EXPECT_TRUE(std::filesystem::exists(file("a.pdf")));
}

TEST_F(KorvcamText, scannedPagesHaveText)
{
    const Finished done = runWithText({"scan", "--text", "eng", "-r", "640x480", "--interval",
                                       "0.5", "-n", "2", "--quiet", "-o", file("a.pdf")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(textOf("a.pdf"), "found\n\nfound\n\n");
}

TEST_F(KorvcamText, interruptionEndsTheRecogniserToo)
{
    snap("1.jpg");
    const std::string argument = "98763." + std::to_string(getpid());
    install("exec sleep " + argument);
    support::Process convert(command({"convert", "--text", "eng", file("1.jpg"), file("a.pdf")}),
                             {{"KORV_CAMERA_REAL", "0"},
                              {"PATH", file("bin") + ":/usr/bin:/bin"},
                              {"XDG_CACHE_HOME", file("cache")}});
    const auto runs = [&] {
        for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
            std::ifstream line(entry.path() / "cmdline");
            const std::string text{std::istreambuf_iterator<char>(line), {}};
            if (text.find(argument) != std::string::npos)
                return true;
        }
        return false;
    };
    const auto becomes = [&](bool wanted) {
        for (int tries = 0; tries < 500 && runs() != wanted; ++tries)
            usleep(20'000);
        return runs() == wanted;
    };
    ASSERT_TRUE(becomes(true));
    kill(convert.pid(), SIGINT);
    EXPECT_EQ(convert.wait().status, 130);
    EXPECT_TRUE(becomes(false));
}

TEST_F(KorvcamText, languagesAreNames)
{
    for (const char *bad : {"", "eng+", "../eng"}) {
        const Finished done = runWithText({"convert", "--text", bad, file("1.jpg"), file("a.pdf")});
        EXPECT_EQ(done.status, 2) << bad;
    }
}

namespace {

/// What `korvcam text` does to documents made earlier.
class KorvcamTextCommand : public KorvcamText
{
protected:
    void SetUp() override
    {
        KorvcamText::SetUp();
        snap("1.jpg");
        ASSERT_EQ(run({"combine", file("1.jpg"), "-o", file("a.pdf")}).status, 0);
    }
    std::string bytesOf(const std::string &name) const { return support::readFile(file(name)); }
};

} // namespace

TEST_F(KorvcamTextCommand, documentItselfGetsTheText)
{
    const std::string before = bytesOf("a.pdf");
    std::filesystem::permissions(
        file("a.pdf"), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::create_symlink("a.pdf", file("link.pdf"));
    const Finished done = runWithText({"text", "--text", "eng", file("link.pdf")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output, file("a.pdf") + "\n");
    EXPECT_EQ(textOf("a.pdf"), "found\n\n");
    EXPECT_EQ(bytesOf("a.pdf").substr(0, before.size()), before);
    EXPECT_TRUE(std::filesystem::is_symlink(file("link.pdf")));
    EXPECT_EQ(std::filesystem::status(file("a.pdf")).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const Finished again = runWithText({"text", "--text", "eng", file("a.pdf")});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.errors,
              "korvcam: cannot add text to " + file("a.pdf") + ": it has text already\n");
}

TEST_F(KorvcamTextCommand, anotherFileGetsIt)
{
    const std::string before = bytesOf("a.pdf");
    const Finished done =
        runWithText({"text", "--json", "--text", "eng", file("a.pdf"), "-o", file("b.pdf")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(done.output, "{\"file\":\"" + file("b.pdf") + "\"}\n");
    EXPECT_EQ(bytesOf("a.pdf"), before);
    EXPECT_EQ(textOf("b.pdf"), "found\n\n");
    const Finished piped = runWithText({"text", "--text", "eng", file("a.pdf"), "-o", "-"});
    EXPECT_EQ(piped.status, 0) << piped.errors;
    EXPECT_EQ(piped.output.substr(0, before.size()), before);
    EXPECT_THAT(runWithText({"text", "--text", "eng", file("a.pdf"), "-o", file("b.ofd")}).errors,
                HasSubstr("the document stays .pdf"));
}

TEST_F(KorvcamTextCommand, ofdGetsIt)
{
    ASSERT_EQ(run({"combine", file("1.jpg"), "-o", file("a.ofd")}).status, 0);
    EXPECT_EQ(runWithText({"text", "--text", "eng", file("a.ofd")}).status, 0);
    EXPECT_THAT(
        support::runProgram({"unzip", "-p", file("a.ofd"), "Doc_0/Pages/Page_0/Content.xml"}, {})
            .output,
        HasSubstr(">found</ofd:TextCode>"));
}

TEST_F(KorvcamTextCommand, refusedDocumentsStay)
{
    std::ofstream(file("b.pdf")) << "%PDF-1.7\nno document\n%%EOF\n";
    const std::string before = bytesOf("b.pdf");
    const Finished foreign = runWithText({"text", "--text", "eng", file("b.pdf")});
    EXPECT_EQ(foreign.status, 1);
    EXPECT_THAT(foreign.errors, HasSubstr("it was not made by this library"));
    EXPECT_EQ(bytesOf("b.pdf"), before);
    EXPECT_EQ(runWithText({"text", "--text", "eng", file("none.pdf")}).status, 1);
    EXPECT_EQ(runWithText({"text", "--text", "eng", file("1.jpg")}).status, 2);
    const Finished nameless = runWithText({"text", file("a.pdf")});
    EXPECT_EQ(nameless.status, 2);
    EXPECT_THAT(nameless.errors, HasSubstr("no languages are named"));
}

TEST_F(KorvcamTextCommand, pageWithoutTextIsNamed)
{
    ASSERT_EQ(
        support::runProgram({"convert", file("1.jpg"), "-crop", "320x240+0+0", file("2.jpg")}, {})
            .status,
        0);
    ASSERT_EQ(run({"combine", file("1.jpg"), file("2.jpg"), "-o", file("c.pdf")}).status, 0);
    const std::string before = bytesOf("c.pdf");
    install("if [ $width = 320 ]; then exit 1; fi");
    const std::vector<std::string> arguments = {"text", "--text", "eng", file("c.pdf")};
    std::vector<std::string> strict = arguments;
    strict.emplace_back("--strict");
    const Finished refused = runWithText(strict);
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.errors, HasSubstr("nothing was written, because of --strict"));
    EXPECT_EQ(bytesOf("c.pdf"), before);
    const Finished partial = runWithText(arguments);
    EXPECT_EQ(partial.status, 1);
    EXPECT_THAT(partial.errors, HasSubstr("page 2: this page gets no text: ended with status 1"));
    EXPECT_THAT(partial.errors, HasSubstr("one of its pages has no text"));
    EXPECT_EQ(partial.output, file("c.pdf") + "\n");
    EXPECT_THAT(textOf("c.pdf"), HasSubstr("found"));
}

namespace {

/// With the real program, if it is there.
class KorvcamRealText : public support::KorvcamProgram
{
protected:
    static constexpr char kFont[] = "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc";

    void SetUp() override
    {
        const std::string languages =
            support::runProgram({"sh", "-c", "tesseract --list-langs"}, {}).output;
        if (languages.find("\nchi_sim\n") == std::string::npos
            || languages.find("\neng\n") == std::string::npos)
            GTEST_SKIP() << "tesseract-ocr, tesseract-ocr-eng or tesseract-ocr-chi-sim is missing";
        if (!std::filesystem::exists(kFont))
            GTEST_SKIP() << "fonts-wqy-microhei is missing";
    }
    void draw(const std::string &name, const std::string &text) const
    {
        const Finished drawn = support::runProgram(
            {"convert", "-background", "white", "-fill", "black", "-font", kFont, "-pointsize",
             "44", "-interline-spacing", "24", "label:" + text, "-bordercolor", "white", "-border",
             "150", file(name)},
            {});
        ASSERT_EQ(drawn.status, 0) << drawn.errors;
    }
    static std::string withoutEmptyLines(const std::string &text)
    {
        std::string result;
        for (const std::string &line : lines(text)) {
            if (line.find_first_not_of(" \f") != std::string::npos)
                result += line + "\n";
        }
        return result;
    }
    /// A document of two pages, as `--text` makes it, also where the machine is busy.
    void combine(const std::string &name, const std::vector<std::string> &more = {}) const
    {
        draw("1.png", m_latin);
        draw("2.png", m_chinese);
        std::vector<std::string> arguments = {"combine",     "--text", "chi_sim+eng", file("1.png"),
                                              file("2.png"), "-o",     file(name)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        std::ofstream(file("patient.conf")) << "[documents]\ntext-wait = 60\n";
        const Finished done =
            run(arguments,
                {{"XDG_CACHE_HOME", file("cache")}, {"KORV_CAMERA_CONF", file("patient.conf")}});
        ASSERT_EQ(done.status, 0) << done.errors;
        EXPECT_EQ(done.errors, "");
    }
    static std::string readBy(const std::vector<std::string> &reader)
    {
        const Finished read = support::runProgram(reader, {});
        EXPECT_EQ(read.status, 0) << read.errors;
        return withoutEmptyLines(read.output);
    }

    const std::string m_latin = "The archive keeps letters of the year 1926\n"
                                "in seven boxes on the second floor\n"
                                "and each box has a list of its own\n";
    const std::string m_chinese = "档案馆保存着一九二六年的信件\n"
                                  "这些信件放在二楼的七个箱子里\n"
                                  "每个箱子都有自己的目录\n";
};

} // namespace

TEST_F(KorvcamRealText, readersReturnWhatIsOnThePages)
{
    combine("a.pdf");
    EXPECT_EQ(readBy({"pdftotext", "-nopgbrk", file("a.pdf"), "-"}), m_latin + m_chinese);
    EXPECT_EQ(readBy({"mutool", "draw", "-q", "-F", "txt", file("a.pdf")}), m_latin + m_chinese);
}

TEST_F(KorvcamRealText, browsersCopyWhatIsOnThePages)
{
    constexpr int kMissing = 77;
    const Finished reader = support::runProgram({"sh", "-c", "node --version"}, {});
    if (reader.status != 0)
        GTEST_SKIP() << "nodejs is missing";
    combine("a.pdf");
    const std::vector<std::string> copy = {"node", KORV_PDFJS_TEXT, file("a.pdf")};
    if (support::runProgram(copy, {}).status == kMissing)
        GTEST_SKIP() << "libjs-pdf is missing";
    EXPECT_EQ(readBy(copy), m_latin + m_chinese);
    combine("b.pdf", {"--compact"});
    EXPECT_THAT(support::readFile(file("b.pdf")), HasSubstr("/ImageMask true"));
    EXPECT_EQ(readBy({"node", KORV_PDFJS_TEXT, file("b.pdf")}), m_latin + m_chinese);
}
