#include "library/settings/ini_text.h"

#include <gmock/gmock.h>

using korv::IniText;
using korv::parseIni;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> entriesOf(const IniText &ini)
{
    std::vector<std::string> texts;
    for (const IniText::Entry &each : ini.entries)
        texts.push_back(std::to_string(each.line) + " [" + each.section + "] " + each.name + "="
                        + each.value);
    return texts;
}

std::vector<std::string> problemsOf(const IniText &ini)
{
    std::vector<std::string> texts;
    for (const IniText::Problem &each : ini.problems)
        texts.push_back(std::to_string(each.line) + " " + each.text);
    return texts;
}

} // namespace

TEST(IniText, entriesKnowTheirSectionAndLine)
{
    const IniText ini = parseIni("x = 0\n"
                                 "# comment\n"
                                 "[a]\r\n"
                                 "  one = 1\r\n"
                                 "\n"
                                 "; comment\n"
                                 "two:2 ; the second\n"
                                 "[camera 1b17:0211]\n"
                                 "three =\n"
                                 "title = a = b; c # d");
    EXPECT_THAT(entriesOf(ini),
                ElementsAre("1 [] x=0", "4 [a] one=1", "7 [a] two=2", "9 [camera 1b17:0211] three=",
                            "10 [camera 1b17:0211] title=a = b; c # d"));
    EXPECT_THAT(problemsOf(ini), IsEmpty());
    ASSERT_EQ(ini.sections.size(), 2U);
    EXPECT_EQ(ini.sections[1].name, "camera 1b17:0211");
    EXPECT_EQ(ini.sections[1].line, 8);
}

TEST(IniText, indentedLineContinuesNoOther)
{
    EXPECT_THAT(entriesOf(parseIni("[a]\none = 1\n    two = 2\n")),
                ElementsAre("2 [a] one=1", "3 [a] two=2"));
}

TEST(IniText, byteOrderMarkMeansNothing)
{
    const IniText ini = parseIni("\xEF\xBB\xBF[a]\nb = c\n");
    EXPECT_THAT(entriesOf(ini), ElementsAre("2 [a] b=c"));
    EXPECT_THAT(problemsOf(ini), IsEmpty());
}

TEST(IniText, everyLineThatIsNothingIsReported)
{
    const IniText ini =
        parseIni("[a]\nword\none = 1\nother words\n" + std::string(300, 'x') + "=1\ntwo = 2\nlast");
    EXPECT_THAT(entriesOf(ini), ElementsAre("3 [a] one=1", "6 [a] two=2"));
    EXPECT_THAT(problemsOf(ini),
                ElementsAre("2 neither a section nor NAME = VALUE",
                            "4 neither a section nor NAME = VALUE", "5 the line is too long",
                            "7 neither a section nor NAME = VALUE"));
}

TEST(IniText, longestLineIsKeptWhole)
{
    const std::string value(190, 'v');
    EXPECT_THAT(entriesOf(parseIni("[a]\nx = " + value + "\n")), ElementsAre("2 [a] x=" + value));
}

TEST(IniText, keysBehindAHeadingThatCannotBeReadBelongToNoOtherSection)
{
    const IniText ini =
        parseIni("[a]\n[b\none = 1\n[" + std::string(300, 'c') + "]\ntwo = 2\n[d ; ]\nthree = 3\n");
    EXPECT_THAT(entriesOf(ini), ElementsAre("3 [?] one=1", "5 [?] two=2", "7 [?] three=3"));
    EXPECT_THAT(problemsOf(ini),
                ElementsAre("2 no section: [b", "4 the line is too long", "6 no section: [d ; ]"));
}
