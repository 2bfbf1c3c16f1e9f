#include "library/recognition/page_reader.h"

#include "library/image/rotate.h"
#include "tests/library/support/fake_tesseract.h"
#include "tests/library/support/lying_page.h"
#include "tests/library/support/typed_page.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <gmock/gmock.h>

using namespace korv;
using namespace std::chrono_literals;

namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 128;
constexpr Rotation kAll[] = {Rotation::None, Rotation::Left90, Rotation::Right90, Rotation::Half};

Rotation inverseOf(Rotation rotation)
{
    switch (rotation) {
    case Rotation::Left90:
        return Rotation::Right90;
    case Rotation::Right90:
        return Rotation::Left90;
    default:
        return rotation;
    }
}

class PageReaderTest : public testing::Test
{
protected:
    void SetUp() override { install(""); }
    void install(const std::string &commands, int confidence = 95,
                 const std::string &writing = testing_support::kCornerWriting)
    {
        m_tesseract.install(commands + "\n"
                            + testing_support::commandsThatReadCornerPages(confidence, writing));
    }
    /// Commands that take effect for the first reading only.
    std::string firstTime(const std::string &commands) const
    {
        const std::string file = m_folder / "first";
        return "if [ ! -e '" + file + "' ]; then touch '" + file + "'; " + commands + "; fi\n";
    }
    /// Commands that take effect from the second reading on.
    std::string secondTime(const std::string &commands) const
    {
        const std::string file = m_folder / "first";
        return "if [ -e '" + file + "' ]; then " + commands + "; fi; touch '" + file + "'\n";
    }
    static Image lying(Rotation rotation)
    {
        return rotate(testing_support::cornerPage(kWidth, kHeight, PixelFormat::Gray8), rotation);
    }
    Result<PageText> read(const Image &picture,
                          PageReader::Direction direction = PageReader::Direction::Find)
    {
        std::filesystem::remove(m_folder / "first");
        const Tesseract tesseract(m_languages);
        const PageReader reader(tesseract, direction);
        const Result<PageReader::Description> description =
            reader.describe(picture, m_limits, m_stop);
        if (!description)
            return description.error();
        m_isFinal = description.value().isFinal;
        return reader.read(description.value().text);
    }

    testing_support::TemporaryFolder m_folder;
    testing_support::FakeTesseract m_tesseract;
    TextLanguages m_languages = {"eng"};
    ProgramLimits m_limits;
    bool m_isFinal = false; ///< the last description
    EventFd m_stop = EventFd::create().value();
};

} // namespace

TEST_F(PageReaderTest, turnsEveryPageUpright)
{
    for (const Rotation rotation : kAll) {
        const auto text = read(lying(rotation));
        ASSERT_TRUE(text) << text.error().text;
        EXPECT_EQ(text.value().turn, inverseOf(rotation));
        EXPECT_EQ(text.value().width, kWidth);
        EXPECT_EQ(text.value().height, kHeight);
        EXPECT_EQ(text.value().lines.at(0).height, 10) << "the line runs across";
        EXPECT_TRUE(m_isFinal);
    }
}

TEST_F(PageReaderTest, readsAPageAsItLiesWhenNobodyAsks)
{
    const auto text = read(lying(Rotation::Half), PageReader::Direction::AsItLies);
    ASSERT_TRUE(text);
    EXPECT_EQ(text.value().turn, Rotation::None);
    EXPECT_EQ(text.value().lines.size(), 1U);
}

TEST_F(PageReaderTest, uprightPageIsReadOnce)
{
    install(secondTime("kill -SEGV $$"));
    const auto text = read(lying(Rotation::None));
    ASSERT_TRUE(text) << text.error().text;
    EXPECT_EQ(text.value().turn, Rotation::None);
}

TEST_F(PageReaderTest, unsurePageStaysAsItLies)
{
    for (const Rotation rotation : kAll) {
        install("", 60);
        const auto text = read(lying(rotation));
        ASSERT_TRUE(text);
        EXPECT_EQ(text.value().turn, Rotation::None);
        EXPECT_EQ(text.value().lines.size(), 1U) << "it has the text of the first reading";
    }
}

TEST_F(PageReaderTest, secondReadingThatFailsCostsNothing)
{
    for (const char *failure : {"kill -SEGV $$", "exit 1", "head -c 100000 /dev/urandom; exit 0",
                                "head -c 100000000 /dev/zero; exit 0", "width=97", "sleep 1000"}) {
        install(secondTime(failure));
        m_limits.time = 2s;
        const auto begin = std::chrono::steady_clock::now();
        const auto text = read(lying(Rotation::Half));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s) << failure;
        ASSERT_TRUE(text) << failure << text.error().text;
        EXPECT_EQ(text.value().turn, Rotation::None) << failure;
        EXPECT_EQ(text.value().lines.size(), 1U) << failure;
        EXPECT_FALSE(m_isFinal) << failure << ": it may go better another time";
    }
}

TEST_F(PageReaderTest, firstReadingThatFailsIsTheResult)
{
    install("exit 1");
    EXPECT_EQ(read(lying(Rotation::Half)).code(), -EPROTO);
    install("head -c 1000 /dev/urandom; exit 0");
    EXPECT_EQ(read(lying(Rotation::Half)).code(), -EBADMSG);
    install("width=97");
    EXPECT_EQ(read(lying(Rotation::Half)).code(), -EBADMSG);
}

TEST_F(PageReaderTest, stopEndsTheSecondReading)
{
    install(secondTime("sleep 1000"));
    m_stop.set();
    EXPECT_EQ(read(lying(Rotation::Half)).code(), -ECANCELED);
}

TEST_F(PageReaderTest, descriptionWithoutADirectionIsRefused)
{
    const Tesseract tesseract({"eng"});
    const PageReader finder(tesseract, PageReader::Direction::Find);
    const PageReader reader(tesseract, PageReader::Direction::AsItLies);
    const std::string plain = reader.describe(lying(Rotation::None), m_limits, m_stop).value().text;
    const std::string found = finder.describe(lying(Rotation::None), m_limits, m_stop).value().text;
    EXPECT_EQ(finder.read(plain).code(), -EBADMSG);
    EXPECT_EQ(reader.read(found).code(), -EBADMSG);
    EXPECT_TRUE(reader.read(plain));
    EXPECT_NE(PageReader::kindOf({"eng"}, PageReader::Direction::Find),
              PageReader::kindOf({"eng"}, PageReader::Direction::AsItLies));
}

namespace {

/// Larger pages, with lines from which their direction can be guessed.
class PageReaderGuessTest : public PageReaderTest
{
protected:
    // how ragged a margin is: on the right, as of most writing, and on the left where it is negative
    static constexpr double kClearly = 0.5;
    static constexpr double kHardly = 0.06;

    /// A corner page with lines of which every third is shorter by that share.
    static Image lined(double raggedness)
    {
        constexpr int kPageWidth = 800;
        constexpr int kPageHeight = 1100;
        constexpr int kBegin = 80;
        Image page = testing_support::cornerPage(kPageWidth, kPageHeight, PixelFormat::Gray8);
        for (int top = 100, line = 0; top < kPageHeight - 100; top += 24, ++line) {
            constexpr int kLength = kPageWidth - 2 * kBegin;
            const double share = line % 3 == 2 ? 1 - std::abs(raggedness) : 1;
            const int length = static_cast<int>(kLength * share);
            const int left = raggedness > 0 ? kBegin : kBegin + kLength - length;
            for (int y = top; y < top + 10; ++y)
                std::fill_n(page.row(y) + left, length, std::uint8_t{40});
        }
        return page;
    }
    /// What is to be done about samples, which the program tells by its last argument.
    void installForSamples(const std::string &commands, int confidence = 95,
                           const std::string &writing = testing_support::kCornerWriting)
    {
        // its files stay empty: it may write none
        const std::string page = "page=" + file("page") + "; [ -e $page ] && page=$page-again; ";
        install("case \"$*\" in *'--psm 6') touch " + file("sample") + "\n" + commands + "\n;; *) "
                    + page + "touch $page;; esac\n",
                confidence, writing);
    }
    /// A sample of which the halves make so much sense.
    static std::string sample(int upper, int lower)
    {
        return R"sh(
printf 'level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth\theight\tconf\ttext\n'
printf "1\t1\t0\t0\t0\t0\t0\t0\t$width\t$height\t-1\t\n"
printf "5\t1\t1\t1\t1\t1\t8\t4\t60\t10\t)sh"
            + std::to_string(upper) + R"sh(\tabcdefghijklmnopqrstuvwx\n"
printf "5\t1\t1\t1\t2\t1\t8\t$((height - 14))\t60\t10\t)sh"
            + std::to_string(lower) + R"sh(\tabcdefghijklmnopqrstuvwx\n"
exit 0
)sh";
    }
    /// What was read since it was asked last.
    std::string takeCalls() const
    {
        std::string calls;
        for (const char *call : {"sample", "page", "page-again"}) {
            if (std::filesystem::remove(file(call)))
                calls += (calls.empty() ? "" : " ") + std::string(call);
        }
        return calls;
    }

private:
    std::string file(const std::string &name) const { return m_folder / name; }
};

} // namespace

TEST_F(PageReaderGuessTest, uprightPageNeedsNoSample)
{
    installForSamples("exit 1");
    for (const double raggedness : {kClearly, kHardly}) {
        EXPECT_EQ(read(lined(raggedness)).value().turn, Rotation::None);
        EXPECT_EQ(takeCalls(), "page");
    }
}

TEST_F(PageReaderGuessTest, turnedPageWithAClearMarginNeedsNoSample)
{
    installForSamples("exit 1");
    for (const Rotation rotation : {Rotation::Left90, Rotation::Right90, Rotation::Half}) {
        const auto text = read(rotate(lined(kClearly), rotation));
        ASSERT_TRUE(text) << text.error().text;
        EXPECT_EQ(text.value().turn, inverseOf(rotation));
        EXPECT_EQ(text.value().lines.size(), 1U);
        EXPECT_TRUE(m_isFinal);
        EXPECT_EQ(takeCalls(), "page");
    }
}

TEST_F(PageReaderGuessTest, sampleSparesTheReadingAsThePageLies)
{
    installForSamples(sample(90, 20));
    for (const Rotation rotation : {Rotation::Left90, Rotation::Right90, Rotation::Half}) {
        const auto text = read(rotate(lined(kHardly), rotation));
        ASSERT_TRUE(text) << text.error().text;
        EXPECT_EQ(text.value().turn, inverseOf(rotation));
        EXPECT_EQ(text.value().lines.size(), 1U);
        EXPECT_TRUE(m_isFinal);
        EXPECT_EQ(takeCalls(), "sample page");
    }
}

TEST_F(PageReaderGuessTest, sampleCorrectsAWrongGuess)
{
    installForSamples(sample(20, 90));
    EXPECT_EQ(read(lined(-kHardly)).value().turn, Rotation::None);
    EXPECT_EQ(takeCalls(), "sample page");
    EXPECT_EQ(read(rotate(lined(-kHardly), Rotation::Right90)).value().turn, Rotation::Left90);
    EXPECT_EQ(takeCalls(), "sample page");
}

TEST_F(PageReaderGuessTest, clearMarginThatMisleadsTurnsNothingWrongly)
{
    for (const std::string &lines : {sample(20, 90), sample(50, 20), std::string("exit 1")}) {
        installForSamples(lines);
        for (const Rotation rotation : kAll) {
            const auto text = read(rotate(lined(-kClearly), rotation));
            ASSERT_TRUE(text) << text.error().text;
            EXPECT_EQ(text.value().turn, inverseOf(rotation)) << lines;
            takeCalls();
        }
    }
}

TEST_F(PageReaderGuessTest, marginsOfPagesWrittenFromTheRightAreTheOtherWayRound)
{
    m_languages = {"heb"};
    installForSamples("exit 1");
    for (const Rotation rotation : kAll) {
        const auto text = read(rotate(lined(-kClearly), rotation));
        ASSERT_TRUE(text) << text.error().text;
        EXPECT_EQ(text.value().turn, inverseOf(rotation));
        EXPECT_EQ(takeCalls(), "page");
    }
}

TEST_F(PageReaderGuessTest, digitsAloneNeedASample)
{
    const std::string digits = "0123456789012345678901ab";
    for (const Rotation rotation : {Rotation::Left90, Rotation::Right90, Rotation::Half}) {
        installForSamples(sample(90, 20), 95, digits);
        EXPECT_EQ(read(rotate(lined(kClearly), rotation)).value().turn, inverseOf(rotation));
        EXPECT_EQ(takeCalls(), "sample page") << "the page was read already";
    }
    installForSamples(sample(20, 90), 95, digits);
    EXPECT_EQ(read(rotate(lined(kClearly), Rotation::Left90)).value().turn, Rotation::Right90);
    EXPECT_EQ(takeCalls(), "sample page page-again");
}

TEST_F(PageReaderGuessTest, pageThatIsReadLessWellNeedsASample)
{
    constexpr int kSoSo = 75; // as one of which a part is on its head
    installForSamples(sample(90, 20), kSoSo);
    EXPECT_EQ(read(rotate(lined(kClearly), Rotation::Half)).value().turn, Rotation::Half);
    EXPECT_EQ(takeCalls(), "sample page");
    installForSamples(sample(20, 90), kSoSo);
    EXPECT_EQ(read(rotate(lined(-kClearly), Rotation::None)).value().turn, Rotation::None);
    EXPECT_EQ(takeCalls(), "sample page page-again");
}

TEST_F(PageReaderGuessTest, sampleThatSaysNothingCostsNoMoreThanItself)
{
    for (const std::string &useless :
         {sample(50, 20), sample(90, 80), std::string("kill -SEGV $$"), std::string("exit 1"),
          std::string("head -c 100000 /dev/urandom; exit 0")}) {
        installForSamples(useless);
        for (const Rotation rotation : {Rotation::Left90, Rotation::Right90, Rotation::Half}) {
            const auto text = read(rotate(lined(kHardly), rotation));
            ASSERT_TRUE(text) << text.error().text;
            EXPECT_EQ(text.value().turn, inverseOf(rotation)) << useless;
            EXPECT_EQ(takeCalls(), "sample page page-again") << useless;
        }
    }
}

TEST_F(PageReaderGuessTest, readingAtOnceThatFailsCostsNothing)
{
    for (const char *failure : {"kill -SEGV $$", "exit 1", "head -c 100000 /dev/urandom; exit 0"}) {
        install(firstTime(failure));
        for (const Rotation rotation : {Rotation::Left90, Rotation::Right90, Rotation::Half}) {
            const auto text = read(rotate(lined(kClearly), rotation));
            ASSERT_TRUE(text) << text.error().text;
            EXPECT_EQ(text.value().turn, inverseOf(rotation)) << failure;
        }
    }
}

TEST_F(PageReaderGuessTest, sampleThatHangsLeavesTimeForThePage)
{
    installForSamples("sleep 1000");
    m_limits.time = 8s;
    const auto text = read(rotate(lined(kHardly), Rotation::Right90));
    ASSERT_TRUE(text) << text.error().text;
    EXPECT_EQ(text.value().turn, Rotation::Left90);
}

TEST_F(PageReaderGuessTest, pageThatMakesNoSenseStaysAsItLies)
{
    installForSamples(sample(90, 20), 60);
    for (const double raggedness : {kClearly, kHardly, -kClearly}) {
        for (const Rotation rotation : kAll) {
            const auto text = read(rotate(lined(raggedness), rotation));
            ASSERT_TRUE(text) << text.error().text;
            EXPECT_EQ(text.value().turn, Rotation::None);
            EXPECT_EQ(text.value().width, rotate(lined(raggedness), rotation).width());
        }
    }
}

TEST_F(PageReaderGuessTest, stopEndsTheReadingAtOnce)
{
    install("sleep 1000");
    m_stop.set();
    EXPECT_EQ(read(rotate(lined(kClearly), Rotation::Half)).code(), -ECANCELED);
}

TEST_F(PageReaderGuessTest, stopEndsTheSample)
{
    installForSamples("sleep 1000");
    m_stop.set();
    EXPECT_EQ(read(rotate(lined(kHardly), Rotation::Half)).code(), -ECANCELED);
}

TEST(PageReaderProgram, findsOutHowPagesOfTypeLie)
{
    if (!std::filesystem::exists("/usr/bin/tesseract"))
        GTEST_SKIP() << "tesseract is not installed";
    const Tesseract tesseract({"eng"});
    const EventFd stop = EventFd::create().value();
    ProgramLimits limits;
    limits.time = 120s;
    const PageReader reader(tesseract, PageReader::Direction::Find);
    for (const Rotation rotation : kAll) {
        const auto description =
            reader.describe(rotate(testing_support::linesOfType(), rotation), limits, stop);
        ASSERT_TRUE(description) << description.error().text;
        EXPECT_EQ(reader.read(description.value().text).value().turn, inverseOf(rotation));
    }
}
