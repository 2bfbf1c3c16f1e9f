#include "library/recognition/reading_direction.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

using namespace korv;

namespace {

const ReadingQuality kUpright{95, 2000, 1};
const ReadingQuality kOnItsHead{47, 1900, 1};
const ReadingQuality kTurnedRight{95, 2000, 0};
const ReadingQuality kTurnedLeft{47, 1900, 0};

TesseractRow row(int level, int line, int width, int height, double confidence = 0,
                 const std::string &text = "")
{
    TesseractRow made;
    made.numbers[TesseractRow::Level] = level;
    made.numbers[TesseractRow::Line] = line;
    made.numbers[TesseractRow::Width] = width;
    made.numbers[TesseractRow::Height] = height;
    made.confidence = confidence;
    made.text = text;
    return made;
}

/// What a sample of 100 rows was read as: a line in each half, of letters that make so much sense.
TesseractTable sample(double upper, double lower, const std::string &letters)
{
    TesseractTable table;
    table.width = 400;
    table.height = 100;
    int line = 0;
    for (const double confidence : {upper, lower}) {
        table.rows.push_back(row(4, ++line, 300, 20));
        table.rows.push_back(row(5, line, 300, 20, confidence, letters));
        for (std::size_t at = table.rows.size() - 2; at < table.rows.size(); ++at)
            table.rows[at].numbers[TesseractRow::Top] = line == 1 ? 20 : 60;
    }
    return table;
}

const std::string kTwentyLetters = "abcdefghijklmnopqrst";

} // namespace

TEST(ReadingDirection, pageThatIsReadWellIsNotReadAgain)
{
    EXPECT_EQ(turnWorthTrying(kUpright), std::nullopt);
    EXPECT_EQ(turnWorthTrying({75, 100, 1}), std::nullopt);
}

TEST(ReadingDirection, linesSayWhichTurnToTry)
{
    EXPECT_EQ(turnWorthTrying(kOnItsHead), Rotation::Half);
    EXPECT_EQ(turnWorthTrying(kTurnedRight), Rotation::Left90);
    EXPECT_EQ(turnWorthTrying(kTurnedLeft), Rotation::Right90);
}

TEST(ReadingDirection, pageWithLittleWritingIsNotReadAgain)
{
    EXPECT_EQ(turnWorthTrying({}), std::nullopt);
    EXPECT_EQ(turnWorthTrying({20, 19, 1}), std::nullopt);
    EXPECT_EQ(turnWorthTrying({20, 20, 1}), Rotation::Half);
}

TEST(ReadingDirection, turnIsSureWhenTheWritingMakesSenseAfterIt)
{
    EXPECT_TRUE(isUprightForSure(kOnItsHead, kUpright));
    EXPECT_TRUE(isUprightForSure(kTurnedLeft, kUpright));
    EXPECT_TRUE(isUprightForSure(kTurnedRight, kUpright));
}

TEST(ReadingDirection, doubtLeavesThePageAsItLies)
{
    EXPECT_FALSE(isUprightForSure(kOnItsHead, {69, 2000, 1})) << "it makes little sense";
    EXPECT_FALSE(isUprightForSure({60, 2000, 1}, {75, 2000, 1})) << "it is hardly better";
    EXPECT_FALSE(isUprightForSure(kOnItsHead, {95, 19, 1})) << "too little writing";
    EXPECT_FALSE(isUprightForSure(kOnItsHead, {95, 500, 1})) << "most of the writing is gone";
    EXPECT_FALSE(isUprightForSure(kTurnedLeft, {95, 2000, 0.5})) << "its lines run down";
    EXPECT_FALSE(isUprightForSure({80, 2000, 0.4}, {95, 2000, 1})) << "lines of both kinds";
}

TEST(ReadingDirection, qualityIsTheMeanOfAllCharacters)
{
    TesseractTable table;
    table.rows = {row(4, 1, 300, 20), row(5, 1, 100, 20, 90, "abc"), row(5, 1, 10, 20, 50, "会"),
                  row(4, 2, 20, 300), row(5, 2, 20, 100, 10, "down")};
    const ReadingQuality quality = qualityOf(table);
    EXPECT_EQ(quality.characters, 8);
    EXPECT_DOUBLE_EQ(quality.confidence, (3 * 90 + 50 + 4 * 10) / 8.0);
    EXPECT_DOUBLE_EQ(quality.across, 0.5);
}

TEST(ReadingDirection, digitsAndSignsAreNoLetters)
{
    TesseractTable table;
    table.rows = {row(5, 1, 100, 20, 90, "aZ-19,"), row(5, 1, 10, 20, 50, "é“”Ж…"),
                  row(5, 1, 10, 20, 50, "会，。あ９㐀𠀀")};
    const ReadingQuality quality = qualityOf(table);
    EXPECT_EQ(quality.characters, 18);
    EXPECT_EQ(quality.letters, 2 + 2 + 4);
}

TEST(ReadingDirection, wordWithoutALineSpeaksForItself)
{
    TesseractTable table;
    table.rows = {row(4, 1, 300, 20), row(5, 7, 20, 100, 80, "down")};
    EXPECT_EQ(qualityOf(table).across, 0);
    EXPECT_EQ(qualityOf({}).characters, 0);
}

TEST(ReadingDirection, sampleSaysWhichHalfMakesSense)
{
    EXPECT_EQ(turnOfSample(sample(92, 40, kTwentyLetters)), Rotation::None);
    EXPECT_EQ(turnOfSample(sample(12, 70, kTwentyLetters)), Rotation::Half);
}

TEST(ReadingDirection, sampleInDoubtSaysNothing)
{
    EXPECT_EQ(turnOfSample({}), std::nullopt);
    EXPECT_EQ(turnOfSample(sample(50, 10, kTwentyLetters)), std::nullopt)
        << "it makes little sense";
    EXPECT_EQ(turnOfSample(sample(80, 60, kTwentyLetters)), std::nullopt) << "both make sense";
    EXPECT_EQ(turnOfSample(sample(92, 40, "abcdefghijklmnopqrs")), std::nullopt) << "too little";
}

TEST(ReadingDirection, pageIsReadUprightWhenItMakesSenseInLinesAcross)
{
    EXPECT_TRUE(isReadUpright({70, 20, 0.8}));
    EXPECT_FALSE(isReadUpright({69, 20, 0.8}));
    EXPECT_FALSE(isReadUpright({70, 19, 0.8}));
    EXPECT_FALSE(isReadUpright({70, 20, 0.7}));
}

TEST(ReadingDirection, pageIsReadUprightForSureWhenItIsReadVeryWellAndHasLetters)
{
    EXPECT_TRUE(isReadUprightForSure({80, 200, 0.8, 100}));
    EXPECT_FALSE(isReadUprightForSure({80, 200, 0.8, 99}));
    EXPECT_FALSE(isReadUprightForSure({80, 24, 0.8, 19})) << "too few letters";
    EXPECT_FALSE(isReadUprightForSure({79, 200, 0.8, 200}));
    EXPECT_FALSE(isReadUprightForSure({80, 200, 0.7, 200})) << "its lines run down";
}
