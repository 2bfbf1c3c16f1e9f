#include "library/text/text_runs.h"

#include <gmock/gmock.h>

using namespace korv;

namespace {

RunLine only(const std::vector<PageWord> &words)
{
    const std::vector<RunLine> lines = layOut({1000, 500, {{100, 40, words}}});
    EXPECT_EQ(lines.size(), 1U);
    return lines.empty() ? RunLine() : lines.front();
}

std::u32string textOf(const RunLine &line)
{
    std::u32string text;
    for (const TextRun &run : line.runs)
        text += run.characters;
    return text;
}

void expectAdjoining(const RunLine &line)
{
    for (std::size_t i = 0; i < line.runs.size(); ++i) {
        EXPECT_GT(line.runs[i].right, line.runs[i].left);
        if (i > 0) {
            EXPECT_DOUBLE_EQ(line.runs[i].left, line.runs[i - 1].right);
        }
    }
}

} // namespace

TEST(TextRuns, wordsKeepTheirBoxesWithASpaceBetween)
{
    const RunLine line = only({{"The", 80, 76, false}, {"quick", 174, 110, true}});
    EXPECT_EQ(line.top, 100);
    EXPECT_EQ(line.height, 40);
    ASSERT_EQ(line.runs.size(), 3U);
    EXPECT_EQ(textOf(line), U"The quick");
    EXPECT_EQ(line.runs[0].left, 80);
    EXPECT_EQ(line.runs[0].right, 156);
    EXPECT_EQ(line.runs[2].left, 174);
    EXPECT_EQ(line.runs[2].right, 284);
    expectAdjoining(line);
}

TEST(TextRuns, chineseCharactersShareTheRoomOfTheirRow)
{
    // the first box reaches over the others, as those of a recogniser do
    const RunLine line =
        only({{"会", 82, 187, false}, {"议", 153, 42, false}, {"记录", 194, 80, false}});
    ASSERT_EQ(line.runs.size(), 1U);
    EXPECT_EQ(textOf(line), U"会议记录");
    EXPECT_EQ(line.runs[0].left, 82);
    EXPECT_EQ(line.runs[0].right, 274);
}

TEST(TextRuns, aPhraseStaysWholeWhereItsBoxesAreOutOfOrder)
{
    const RunLine line =
        only({{"会", 100, 40, false}, {"议", 95, 90, false}, {"录", 180, 40, false}});
    ASSERT_EQ(line.runs.size(), 1U);
    EXPECT_EQ(textOf(line), U"会议录");
    EXPECT_EQ(line.runs[0].right, 220);
}

TEST(TextRuns, punctuationAtTheEndHasTheRoomOfACharacter)
{
    const RunLine line =
        only({{"文", 100, 40, false}, {"档", 140, 40, false}, {"。", 182, 16, false}});
    ASSERT_EQ(line.runs.size(), 1U);
    EXPECT_NEAR(line.runs[0].right, 220, 2);
}

TEST(TextRuns, roomOfPunctuationEndsAtTheNextWord)
{
    const RunLine line =
        only({{"档", 140, 40, false}, {"。", 182, 16, false}, {"Next", 205, 90, true}});
    EXPECT_EQ(textOf(line), U"档。 Next");
    EXPECT_EQ(line.runs.back().left, 205);
    expectAdjoining(line);
}

TEST(TextRuns, narrowMarkBehindWideCharactersHasTheirRoomToo)
{
    const RunLine line = only({{"传", 100, 40, false},
                               {"输", 140, 40, false},
                               {":", 184, 14, false},
                               {"被", 222, 40, true}});
    EXPECT_EQ(textOf(line), U"传输: 被");
    // what is left of the gap is a space, not a column's
    EXPECT_GE(line.runs[1].right - line.runs[1].left, 0.15 * 40);
    EXPECT_LE(line.runs[1].right - line.runs[1].left, 0.4 * 40);
    expectAdjoining(line);
}

TEST(TextRuns, marksOnTheirOwnHaveTheirRoomBehindWideCharacters)
{
    const RunLine line = only({{"文", 100, 40, false},
                               {":", 150, 10, true},
                               {":", 190, 10, true},
                               {"安", 224, 40, true}});
    EXPECT_EQ(textOf(line), U"文 : : 安");
    for (std::size_t i = 1; i < line.runs.size(); i += 2)
        EXPECT_LE(line.runs[i].right - line.runs[i].left, 0.7 * 40) << i;
    const RunLine latin =
        only({{"as", 100, 40, false}, {":", 150, 10, true}, {"is", 224, 40, true}});
    EXPECT_EQ(latin.runs[2].right, 160);
}

TEST(TextRuns, spacesAreWideEnoughToBeSeen)
{
    const RunLine line =
        only({{"问题", 100, 80, false}, {"。", 182, 14, false}, {"只", 218, 40, true}});
    EXPECT_EQ(textOf(line), U"问题。 只");
    EXPECT_GE(line.runs[1].right - line.runs[1].left, 0.15 * 40);
}

TEST(TextRuns, overlappingBoxesMeetInTheMiddle)
{
    const RunLine line = only({{"one", 100, 60, false}, {"two", 150, 50, true}});
    EXPECT_EQ(textOf(line), U"one two");
    EXPECT_NEAR(line.runs[0].right, 152, 1);
    EXPECT_EQ(line.runs[2].right, 200);
    expectAdjoining(line);
}

TEST(TextRuns, nestedBoxesStayInOrder)
{
    const RunLine line = only({{"aa", 100, 300, false}, {"b", 101, 1, true}, {"c", 102, 1, true}});
    EXPECT_EQ(textOf(line), U"aa b c");
    expectAdjoining(line);
}

TEST(TextRuns, wordsThatGoBackBeginALine)
{
    const std::vector<RunLine> lines =
        layOut({1000, 500, {{100, 40, {{"second", 400, 90, false}, {"first", 100, 90, true}}}}});
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(textOf(lines[1]), U"first");
    EXPECT_EQ(lines[1].runs[0].left, 100);
}
