#include "library/recognition/writing_guess.h"

#include "library/image/rotate.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

using namespace korv;

namespace {

constexpr int kWidth = 1240;
constexpr int kHeight = 1754;
constexpr int kMargin = 140;

void fill(Image &page, int left, int top, int width, int height, std::uint8_t level)
{
    for (int y = top; y < top + height; ++y)
        std::fill_n(page.row(y) + left, width, level);
}

/// Words of upright strokes in lines, of which every third ends early.
Image pageOfLines(std::uint8_t ink = 40, int earlyEnd = kWidth / 2)
{
    Image page(kWidth, kHeight, PixelFormat::Gray8);
    fill(page, 0, 0, kWidth, kHeight, 230);
    int line = 0;
    for (int top = kMargin; top + 40 < kHeight - kMargin; top += 36, ++line) {
        const int end = line % 3 == 2 ? earlyEnd : kWidth - kMargin;
        for (int left = kMargin; left + 8 < end; left += 10) {
            const bool isGap = (left / 10 + 3 * line) % 7 == 0;
            if (!isGap)
                fill(page, left, top, 5, 16, ink);
        }
    }
    return page;
}

Image blank()
{
    Image page(kWidth, kHeight, PixelFormat::Gray8);
    fill(page, 0, 0, kWidth, kHeight, 230);
    return page;
}

/// The turn that the lines of a page ask for.
std::optional<Rotation> turnOf(const Image &page)
{
    const std::optional<WritingGuess> guess = guessTurn(page);
    return guess ? std::optional(guess->turn) : std::nullopt;
}

} // namespace

TEST(WritingGuess, linesThatBeginAtOneMarginSayHowThePageLies)
{
    EXPECT_EQ(turnOf(pageOfLines()), Rotation::None);
    EXPECT_EQ(turnOf(rotate(pageOfLines(), Rotation::Half)), Rotation::Half);
    EXPECT_EQ(turnOf(rotate(pageOfLines(), Rotation::Right90)), Rotation::Left90);
    EXPECT_EQ(turnOf(rotate(pageOfLines(), Rotation::Left90)), Rotation::Right90);
}

TEST(WritingGuess, marginSaysHowClearThatIs)
{
    const Image clear = pageOfLines();
    const Image doubtful = pageOfLines(40, kWidth - kMargin - 60);
    for (const Rotation rotation :
         {Rotation::None, Rotation::Left90, Rotation::Right90, Rotation::Half}) {
        EXPECT_TRUE(guessTurn(rotate(clear, rotation)).value().isFlush);
        EXPECT_FALSE(guessTurn(rotate(doubtful, rotation)).value().isFlush);
    }
}

TEST(WritingGuess, linesThatBeginAtTheRightAreFlushThere)
{
    const Image page = rotate(pageOfLines(), Rotation::Half); // its lines are flush right
    EXPECT_EQ(guessTurn(page, LineStart::Right).value().turn, Rotation::None);
    EXPECT_TRUE(guessTurn(page, LineStart::Right).value().isFlush);
    EXPECT_EQ(guessTurn(rotate(page, Rotation::Half), LineStart::Right).value().turn,
              Rotation::Half);
    EXPECT_EQ(guessTurn(rotate(page, Rotation::Right90), LineStart::Right).value().turn,
              Rotation::Left90);
    EXPECT_EQ(guessTurn(rotate(page, Rotation::Left90), LineStart::Right).value().turn,
              Rotation::Right90);
}

TEST(WritingGuess, shadowAcrossThePageChangesNothing)
{
    Image page = pageOfLines();
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            page.row(y)[x] =
                static_cast<std::uint8_t>(page.row(y)[x] * (kWidth + x) / (2 * kWidth));
    }
    EXPECT_EQ(turnOf(page), Rotation::None);
    EXPECT_EQ(turnOf(rotate(page, Rotation::Right90)), Rotation::Left90);
}

TEST(WritingGuess, picturesWithoutLinesGiveNone)
{
    EXPECT_EQ(turnOf(Image()), std::nullopt);
    EXPECT_EQ(turnOf(Image(1, 1, PixelFormat::Gray8)), std::nullopt);
    EXPECT_EQ(turnOf(Image(3000, 1, PixelFormat::Gray8)), std::nullopt);
    EXPECT_EQ(turnOf(blank()), std::nullopt);
    EXPECT_EQ(turnOf(pageOfLines(215)), std::nullopt) << "the paper's own grain";
    Image checks = blank();
    for (int y = 100; y < 1100; y += 40) {
        for (int x = 100; x < 1100; x += 40)
            fill(checks, x, y, 20, 20, 30);
    }
    EXPECT_EQ(turnOf(checks), std::nullopt) << "rows as clear as columns";
    EXPECT_EQ(turnOf(Image(390, 300, PixelFormat::Gray8)), std::nullopt) << "too small";
}

TEST(WritingGuess, sampleHasTheSameLinesBothWaysUp)
{
    const Image page = pageOfLines();
    const std::optional<Image> sample = sampleBothWaysUp(page);
    ASSERT_TRUE(sample);
    EXPECT_LT(sample->width(), kWidth / 3);
    EXPECT_LT(sample->height(), kHeight / 5);
    ASSERT_EQ(sample->height() % 2, 0);
    const std::size_t size = sample->stride() * static_cast<std::size_t>(sample->height());
    const std::vector<std::uint8_t> pixels(sample->pixels(), sample->pixels() + size);
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), pixels.rbegin()));
    EXPECT_LT(*std::min_element(pixels.begin(), pixels.end()), 60) << "there is writing on it";
    EXPECT_GT(pixels.front(), 220) << "in the middle of paper";
}

TEST(WritingGuess, noSampleOfAPageWithoutLines)
{
    EXPECT_FALSE(sampleBothWaysUp(Image()));
    EXPECT_FALSE(sampleBothWaysUp(Image(2, 900, PixelFormat::Gray8)));
    EXPECT_FALSE(sampleBothWaysUp(blank()));
}
