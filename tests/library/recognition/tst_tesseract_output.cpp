#include "library/recognition/tesseract_output.h"

#include <cerrno>
#include <gmock/gmock.h>

using namespace korv;

namespace {

const std::string kHead =
    "level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth"
    "\theight\tconf\ttext\n";
const std::string kPage = "1\t1\t0\t0\t0\t0\t0\t0\t800\t600\t-1\t\n";

/// A row of a word on that line of the first paragraph.
std::string wordRow(int line, int number, int left, const std::string &text)
{
    return "5\t1\t1\t1\t" + std::to_string(line) + "\t" + std::to_string(number) + "\t"
        + std::to_string(left) + "\t100\t50\t40\t93.969528\t" + text + "\n";
}

std::string joined(const PageText &page)
{
    std::string text;
    for (const PageLine &line : page.lines) {
        for (const PageWord &word : line.words)
            text += (word.spaceBefore ? " " : "") + word.text;
        text += "/";
    }
    return text;
}

} // namespace

TEST(TesseractOutput, wordsHaveTheirBoxesAndLines)
{
    const Result<PageText> page = readTesseractOutput(
        kHead + kPage + "4\t1\t1\t1\t1\t0\t80\t98\t698\t60\t-1\t\n" + wordRow(1, 1, 80, "The")
        + wordRow(1, 2, 174, "quick") + wordRow(2, 1, 82, "fox") + "The quick\nfox\n\f");
    ASSERT_TRUE(page) << page.error().text;
    EXPECT_EQ(page.value().width, 800);
    EXPECT_EQ(page.value().height, 600);
    ASSERT_EQ(page.value().lines.size(), 2U);
    const PageLine &line = page.value().lines.front();
    EXPECT_EQ(line.top, 100);
    EXPECT_EQ(line.height, 40);
    EXPECT_EQ(line.words.back().left, 174);
    EXPECT_EQ(line.words.back().width, 50);
    EXPECT_EQ(page.value().lines.back().top, 100) << "a word stands for a line without a row";
    EXPECT_EQ(joined(page.value()), "The quick/fox/");
}

TEST(TesseractOutput, specksDoNotMakeALineHigher)
{
    const std::string row = "5\t1\t1\t1\t1\t9\t300\t60\t50\t160\t93.9\thigh\n";
    std::string words;
    for (int i = 0; i < 5; ++i)
        words += wordRow(1, i, 10 + 50 * i, "word");
    const auto withHighWord = readTesseractOutput(
        kHead + kPage + "4\t1\t1\t1\t1\t0\t10\t95\t700\t50\t-1\t\n" + words + row);
    ASSERT_TRUE(withHighWord);
    ASSERT_EQ(withHighWord.value().lines.size(), 1U);
    EXPECT_EQ(withHighWord.value().lines[0].top, 100);
    EXPECT_EQ(withHighWord.value().lines[0].height, 40);
    const auto onlyHighWord =
        readTesseractOutput(kHead + kPage + "4\t1\t1\t1\t1\t0\t10\t95\t700\t50\t-1\t\n" + row);
    ASSERT_TRUE(onlyHighWord);
    EXPECT_EQ(onlyHighWord.value().lines[0].top, 95);
    EXPECT_EQ(onlyHighWord.value().lines[0].height, 50);
}

TEST(TesseractOutput, plainTextSaysWhereSpacesAre)
{
    const std::string rows = wordRow(1, 1, 80, "会") + wordRow(1, 2, 130, "议")
        + wordRow(1, 3, 190, "2026") + wordRow(1, 4, 250, "年");
    const auto page = readTesseractOutput(kHead + kPage + rows + "会议 2026年\n\f");
    ASSERT_TRUE(page);
    EXPECT_EQ(joined(page.value()), "会议 2026年/");
}

TEST(TesseractOutput, scriptSaysSoWhereTheTextsDiffer)
{
    const std::string rows = wordRow(1, 1, 80, "会") + wordRow(1, 2, 130, "议")
        + wordRow(1, 3, 190, "two") + wordRow(1, 4, 250, "words");
    for (const char *plain : {"", "something else\n", "会"}) {
        const auto page = readTesseractOutput(kHead + kPage + rows + plain);
        ASSERT_TRUE(page);
        EXPECT_EQ(joined(page.value()), "会议 two words/") << plain;
    }
}

TEST(TesseractOutput, wordsWithoutAPlaceAreLeftOut)
{
    const std::string rows = wordRow(1, 1, 80, "in") + wordRow(1, 2, 790, "out")
        + wordRow(1, 3, -5, "out") + wordRow(1, 4, 2'000'000'000, "out") + wordRow(1, 5, 300, " ")
        + wordRow(1, 6, 400, "inside");
    const auto page = readTesseractOutput(kHead + kPage + rows);
    ASSERT_TRUE(page);
    EXPECT_EQ(joined(page.value()), "in inside/");
}

TEST(TesseractOutput, emptyPageHasNoWords)
{
    const auto page = readTesseractOutput(kHead + kPage + "\f");
    ASSERT_TRUE(page);
    EXPECT_TRUE(page.value().lines.empty());
}

TEST(TesseractOutput, rubbishIsRefused)
{
    for (const std::string &output :
         {std::string(), std::string("Killed\n"), kHead, kHead + "1\t1\n",
          kHead + wordRow(1, 1, 1, "a"), kHead + "1\t1\t0\t0\t0\t0\t0\t0\t-5\t600\t-1\t\n",
          std::string(100'000, '\xFF')})
        EXPECT_EQ(readTesseractOutput(output).code(), -EBADMSG) << output.substr(0, 200);
}

TEST(TesseractOutput, brokenBytesBecomeReplacements)
{
    const auto page = readTesseractOutput(kHead + kPage + wordRow(1, 1, 80, "a\xFFz"));
    ASSERT_TRUE(page);
    EXPECT_EQ(joined(page.value()), "a\xEF\xBF\xBDz/");
}
