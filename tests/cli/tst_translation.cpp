#include "cli/base/knownsentences.h"
#include "cli/base/translation.h"
#include "tests/cli/korvcam_program.h"

#include <algorithm>
#include <fstream>

namespace {

using support::Finished;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// ---- texts and their parts ----

TEST(Translation, aTranslationMayTurnTheOrderOfThePartsRound)
{
    EXPECT_EQ(cli::filled("%2 %1 %2", {"one", "two"}), "two one two");
}

TEST(Translation, partsKeepTheirSignsOfPerCent)
{
    EXPECT_EQ(cli::filled("%1: %2", {"100%2", "%1"}), "100%2: %1");
    EXPECT_EQ(cli::filled("page-%03d.jpg: %1, 5 %, %9 %", {"x"}), "page-%03d.jpg: x, 5 %, %9 %");
}

TEST(Translation, withoutALanguageEverythingIsEnglish)
{
    EXPECT_EQ(cli::tr("cannot %1: %2", cli::tr("open %1", "Desk"), 5), "cannot open Desk: 5");
    EXPECT_EQ(cli::trCount("%1 page of %2", "%1 pages of %2", 1, "x"), "1 page of x");
    EXPECT_EQ(cli::trCount("%1 page of %2", "%1 pages of %2", 2, "x"), "2 pages of x");
}

std::vector<std::string> partsOf(const std::string &sentence, const std::string &pattern)
{
    const cli::SentenceMatch match = cli::matchSentence(sentence, pattern);
    return match.fits ? match.parts : std::vector<std::string>{"another sentence"};
}

TEST(KnownSentences, partsAreFoundBetweenTheWords)
{
    EXPECT_THAT(
        partsOf("--count: Value 7 not in range 1 to 5", "%1: Value %2 not in range %3 to %4"),
        ElementsAre("--count", "7", "1", "5"));
    EXPECT_THAT(
        partsOf("--count: Value -7 not in range [1 - 5]", "%1: Value %2 not in range [%3 - %4]"),
        ElementsAre("--count", "-7", "1", "5"));
    EXPECT_THAT(partsOf("a requires b requires c", "%1 requires %2"),
                ElementsAre("a", "b requires c"));
    EXPECT_THAT(partsOf("unknown section [x] [y]", "unknown section [%1]"), ElementsAre("x] [y"));
    EXPECT_THAT(partsOf("the camera is gone", "the camera is gone"), IsEmpty());
}

TEST(KnownSentences, otherSentencesDoNotFit)
{
    for (const char *sentence : {"", "x", "the camera is gone!", " is required", "x is require"}) {
        EXPECT_FALSE(cli::matchSentence(sentence, "the camera is gone").fits) << sentence;
        EXPECT_FALSE(cli::matchSentence(sentence, "%1: unknown key %2").fits) << sentence;
    }
    EXPECT_TRUE(cli::matchSentence(" is required", "%1 is required").fits);
    EXPECT_FALSE(cli::matchSentence("a is required b", "%1 is required").fits);
    EXPECT_FALSE(cli::matchSentence("]", "[%1]").fits);
}

TEST(KnownSentences, aSentenceStaysAsItIsWithoutALanguage)
{
    for (const char *sentence :
         {"--count: Value 7 not in range 1 to 5", "something else", "a.conf:3: unknown key x = %1"})
        EXPECT_EQ(cli::trSentence(sentence), sentence);
}

// ---- the program in Chinese ----

bool hasChinese(const std::string &text)
{
    // the characters from U+3000 to U+9FFF, in UTF-8
    return std::any_of(text.begin(), text.end(), [](char byte) {
        const auto value = static_cast<unsigned char>(byte);
        return value >= 0xE3 && value <= 0xE9;
    });
}

class KorvcamInChinese : public support::KorvcamProgram
{
protected:
    void SetUp() override
    {
        m_session = chineseSession();
        if (m_session.empty())
            GTEST_SKIP() << "no Chinese locale can be made; the package locales has its source";
    }

    Finished speak(const std::vector<std::string> &arguments, Environment environment = {}) const
    {
        environment.insert(m_session.begin(), m_session.end());
        environment.emplace("KORV_CAMERA_DESK", "builtin");
        return run(arguments, environment);
    }

    std::vector<std::string> commands() const
    {
        std::vector<std::string> names;
        bool isList = false;
        for (const std::string &line : lines(speak({"--help"}).output)) {
            if (isList && line.compare(0, 2, "  ") == 0)
                names.push_back(line.substr(2, line.find(' ', 2) - 2));
            isList = line == "命令:" || (isList && !line.empty());
        }
        return names;
    }

    Environment m_session;
};

TEST_F(KorvcamInChinese, everyLineOfTheHelpIsChinese)
{
    const std::vector<std::string> names = commands();
    ASSERT_THAT(names, Not(SizeIs(testing::Lt(13U))));
    for (const std::string &name : names) {
        const Finished help = speak({name, "--help"});
        EXPECT_EQ(help.status, 0);
        for (const std::string &line : lines(help.output)) {
            // a long name stands alone; its description follows
            const bool isName =
                line.compare(0, 3, "  -") == 0 && line.find("  ", 2) == std::string::npos;
            EXPECT_TRUE(line.empty() || isName || hasChinese(line)) << name << ": " << line;
        }
    }
}

TEST_F(KorvcamInChinese, descriptionsStandOneBelowTheOther)
{
    const Finished help = speak({"convert", "--help"});
    EXPECT_THAT(help.output, HasSubstr("\n  destination FILE (必填)     新文件；- 表示标准输出\n"));
    EXPECT_THAT(help.output, HasSubstr("\n  -q,--quality 1-100          JPEG 品质（默认：95）\n"));
}

TEST_F(KorvcamInChinese, everyMistakeInTheCommandLineIsToldInChinese)
{
    const std::vector<std::vector<std::string>> mistakes{
        {},
        {"frob"},
        {"snp"},
        {"snap"},
        {"snap", "-o"},
        {"snap", "-o", "a.jpg", "b"},
        {"snap", "-o", "a.jpg", "b", "c"},
        {"snap", "-o", "a.jpg", "-q", "500"},
        {"snap", "-o", "a.jpg", "-q", "x"},
        {"snap", "-o", "a.jpg", "-n", "1", "-n", "2"},
        {"snap", "-o", "a.jpg", "--color", "blue"},
        {"snap", "-o", "a.jpg", "--crop=maybe"},
        {"snap", "-o", "a.jpg", "-r", "5"},
        {"snap", "-o", "a.gif"},
        {"snap", "-o", "a"},
        {"scan", "-o", "a.jpg"},
        {"scan", "-o", "a.pdf", "--page-size", "x"},
        {"scan", "-o", "a.pdf", "--on", "key", "--interval", "1"},
        {"serve", "--key", "a"},
        {"convert", "a"},
        {"combine", "-o", "a.pdf"},
        {"controls", "-c", "x"},
        {"config", "-d", "0"},
    };
    for (const std::vector<std::string> &arguments : mistakes) {
        const Finished done = speak(arguments);
        EXPECT_EQ(done.status, 2) << done.errors;
        EXPECT_THAT(lines(done.errors), Not(IsEmpty()));
        for (const std::string &line : lines(done.errors))
            EXPECT_TRUE(hasChinese(line)) << line;
    }
}

TEST_F(KorvcamInChinese, errorsNameTheThingAndTheCause)
{
    EXPECT_EQ(speak({"snap", "-r", "1x1", "-o", file("a.jpg")}).errors,
              "korvcam: 摄像头不支持 1x1；请查看 `korvcam modes`\n");
    EXPECT_EQ(speak({"convert", folder().string(), file("a.pdf")}).errors,
              "korvcam: " + folder().string() + " 是目录，不是图片\n");
    EXPECT_EQ(speak({"snap", "-o", "/nowhere/a.jpg"}).errors,
              "korvcam: 无法保存 /nowhere/a.jpg：目录 /nowhere 不存在\n");
    EXPECT_EQ(speak({"list"}, {{"KORV_CAMERA_DESK", ""}}).errors,
              "korvcam: 没有摄像头；请运行 `korvcam doctor` 查找原因\n");
}

TEST_F(KorvcamInChinese, whatTheSettingsRoomSaysIsChineseToo)
{
    std::filesystem::create_directories(m_home.home() / ".config");
    std::ofstream(m_home.home() / ".config/korv-camera.conf")
        << "[photographs]\nclean = perhaps\nfrob = 1\n[frob]\nx = 1\n";
    const Finished done = speak({"config"}, {{"XDG_CONFIG_HOME", ""}});
    EXPECT_EQ(done.status, 1);
    EXPECT_THAT(lines(done.errors), SizeIs(3));
    for (const std::string &line : lines(done.errors))
        EXPECT_TRUE(hasChinese(line)) << line;
    EXPECT_THAT(done.output, HasSubstr("title = ; 默认：文件名\n"));
}

TEST_F(KorvcamInChinese, theDoctorSpeaksChinese)
{
    const Finished done = speak({"doctor", "--timeout", "100"});
    EXPECT_THAT(done.output, HasSubstr("摄像头库 "));
    EXPECT_THAT(done.output, HasSubstr("种分辨率，起始为 "));
    EXPECT_THAT(done.output, HasSubstr("试拍：正常"));
}

TEST_F(KorvcamInChinese, jsonAndNumbersStayAsTheyAre)
{
    const Finished done = speak({"scan", "--on", "interval", "--interval", "0.5", "-n", "1", "-r",
                                 "640x480", "--json", "--quiet", "-o", file("p-%d.jpg")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_THAT(done.output, HasSubstr("\"page\":1,"));
    EXPECT_THAT(done.output, HasSubstr("\"width\":640,"));
}

TEST_F(KorvcamInChinese, anotherLanguageIsEnglish)
{
    EXPECT_THAT(speak({"frob"}, {{"LC_ALL", "C"}}).errors, HasSubstr("unknown command 'frob'"));
    EXPECT_THAT(speak({"frob"}, {{"LC_ALL", "C.UTF-8"}}).errors,
                HasSubstr("unknown command 'frob'"));
    EXPECT_THAT(speak({"frob"}, {{"LC_ALL", "de_DE.UTF-8"}}).errors,
                HasSubstr("unknown command 'frob'"));
}

} // namespace
