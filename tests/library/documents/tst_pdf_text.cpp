#include "library/documents/pdf/pdf_writer.h"
#include "library/documents/pdf/text_font.h"
#include "library/files/memory_sink.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/patterns.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <sstream>

using namespace korv;
using testing::HasSubstr;

namespace {

constexpr int kWidth = 1200;
constexpr int kHeight = 800;
constexpr double kDpi = 144; ///< two pixels are a point

/// Three lines of both scripts, with a character above U+FFFF and all that strings escape.
PageText sampleText()
{
    PageText text{kWidth, kHeight, {}};
    text.lines.push_back(
        {100, 40, {{"The", 80, 76, false}, {"(quick)", 174, 160, true}, {"fo\\x", 360, 90, true}}});
    text.lines.push_back({200,
                          44,
                          {{"会", 82, 187, false},
                           {"议", 133, 42, false},
                           {"记录", 184, 90, false},
                           {"2026", 300, 100, true},
                           {"\xF0\xA0\x80\x80", 420, 40, true},
                           {"。", 465, 16, false}}});
    text.lines.push_back(
        {300, 30, {{"\xEF\xBC\x88", 90, 30, false}, {"\xE2\x80\xA6z", 140, 50, true}}});
    return text;
}

class PdfTextTest : public testing::Test
{
protected:
    void SetUp() override
    {
        Image picture = pictures::page(kWidth, kHeight);
        picture.setResolution(kDpi);
        m_jpeg = pictures::jpegOf(picture);
    }
    Page pageWith(const PageText *text) const
    {
        Page page;
        page.jpeg = m_jpeg;
        page.info = jpeg::readInfo(m_jpeg).value();
        page.width = kWidth;
        page.height = kHeight;
        page.resolution = kDpi;
        page.text = text;
        return page;
    }
    void write(const std::vector<Page> &pages)
    {
        MemorySink sink;
        PdfWriter writer(sink, {"title", "zh-Hans", 1'700'000'000, 0});
        for (const Page &page : pages)
            ASSERT_TRUE(writer.addPage(page));
        ASSERT_TRUE(writer.finish());
        m_size = sink.bytes().size();
        pictures::writeBytes(m_path, sink.bytes());
    }
    std::string output(const std::vector<std::string> &arguments)
    {
        const ProgramResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 0) << arguments.front() << ": " << result.errors;
        return result.output;
    }
    std::string plain()
    {
        return output({"qpdf", "--qdf", "--object-streams=disable", m_path, "-"});
    }

    support::TempHome m_home;
    std::string m_path = (m_home.scratch() / "a.pdf").string();
    Bytes m_jpeg;
    std::size_t m_size = 0;
};

struct WordBox
{
    std::string word;
    double left, top, right, bottom;
};

std::vector<WordBox> boxesIn(const std::string &xml)
{
    constexpr char kBox[] =
        "<word xMin=\"([^\"]*)\" yMin=\"([^\"]*)\" xMax=\"([^\"]*)\" yMax=\"([^\"]*)\">([^<]*)<";
    std::vector<WordBox> boxes;
    for (const support::Match &box : support::matchesOf(xml, kBox))
        boxes.push_back(
            {box[5], std::stod(box[1]), std::stod(box[2]), std::stod(box[3]), std::stod(box[4])});
    return boxes;
}

std::vector<std::string> wordsOf(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

const std::vector<std::string> kWords = {
    "The", "(quick)", "fo\\x", "会议记录", "2026", "\xF0\xA0\x80\x80。", "（", "…z"};

} // namespace

TEST_F(PdfTextTest, readersReturnTheWordsInTheirOrder)
{
    const PageText text = sampleText();
    write({pageWith(&text)});
    EXPECT_EQ(wordsOf(output({"pdftotext", m_path, "-"})), kWords);
    EXPECT_EQ(wordsOf(output({"mutool", "draw", "-q", "-F", "txt", m_path})), kWords);
}

TEST_F(PdfTextTest, linesAreThoseOfThePage)
{
    const PageText text = sampleText();
    write({pageWith(&text)});
    // each of these lines is a paragraph
    const std::string expected = "The (quick) fo\\x\n\n会议记录 2026 \xF0\xA0\x80\x80。\n\n（ …z\n";
    EXPECT_THAT(output({"mutool", "draw", "-q", "-F", "txt", m_path}), HasSubstr(expected));
}

TEST_F(PdfTextTest, wordsHaveTheirBoxes)
{
    const PageText text = sampleText();
    write({pageWith(&text)});
    const std::vector<WordBox> boxes = boxesIn(output({"pdftotext", "-bbox", m_path, "-"}));
    ASSERT_EQ(boxes.size(), kWords.size());
    const double pixels = kDpi / 72;
    // word, left, right, top, bottom
    const auto expectAt = [&](std::size_t index, double left, double right, double top,
                              double bottom) {
        const double allowed = 0.03 * (bottom - top);
        const WordBox &box = boxes[index];
        EXPECT_NEAR(box.left * pixels, left, allowed) << box.word;
        EXPECT_NEAR(box.right * pixels, right, allowed) << box.word;
        EXPECT_NEAR(box.top * pixels, top, allowed) << box.word;
        EXPECT_NEAR(box.bottom * pixels, bottom, allowed) << box.word;
    };
    expectAt(0, 80, 156, 100, 140);
    expectAt(1, 174, 334, 100, 140);
    expectAt(2, 360, 450, 100, 140);
    expectAt(3, 82, 274, 200, 244);
    expectAt(4, 300, 400, 200, 244);
}

TEST_F(PdfTextTest, textIsInvisibleAndThePictureUntouched)
{
    const PageText text = sampleText();
    write({pageWith(nullptr)});
    const std::string without = output({"pdftoppm", "-r", "72", m_path});
    write({pageWith(&text)});
    EXPECT_EQ(output({"pdftoppm", "-r", "72", m_path}), without);
    const std::string prefix = (m_home.scratch() / "out").string();
    output({"pdfimages", "-all", m_path, prefix});
    EXPECT_EQ(pictures::readBytes(prefix + "-000.jpg"), m_jpeg);
}

TEST_F(PdfTextTest, pagesWithoutWordsAreAsBefore)
{
    const PageText empty{kWidth, kHeight, {}};
    write({pageWith(nullptr)});
    const std::size_t before = m_size;
    write({pageWith(&empty)});
    EXPECT_EQ(m_size, before);
    EXPECT_THAT(plain(), testing::Not(HasSubstr("/Font")));
    EXPECT_THAT(plain(), HasSubstr("conformance>B<"));
}

TEST_F(PdfTextTest, keepsTheRulesOfPdfA2u)
{
    const PageText text = sampleText();
    write({pageWith(&text), pageWith(nullptr), pageWith(&text)});
    EXPECT_THAT(output({"qpdf", "--check", m_path}),
                HasSubstr("No syntax or stream encoding errors"));
    const std::string file = plain();
    EXPECT_THAT(file, HasSubstr("<pdfaid:conformance>U</pdfaid:conformance>"));
    EXPECT_THAT(file, HasSubstr("/Lang (zh-Hans)"));
    // the font is embedded, says its widths and what its codes mean, and knows a glyph for each
    for (const char *needed : {"/FontFile2", "/ToUnicode", "/CIDToGIDMap", "/Encoding /Identity-H",
                               "/Subtype /CIDFontType2", "/Ordering (Identity)", "/DW 550"})
        EXPECT_THAT(file, HasSubstr(needed));
    EXPECT_THAT(output({"pdffonts", m_path}),
                testing::ContainsRegex("CID TrueType +Identity-H +yes no +yes"));
    // what no code may mean (ISO 19005-2, 6.2.11.7.2)
    for (const char *forbidden : {"<0000> <00", "<FEFF>", "<FFFE>", "<FFFF> <"})
        EXPECT_THAT(file, testing::Not(HasSubstr(forbidden))) << forbidden;
}

TEST_F(PdfTextTest, layerIsSmall)
{
    // a page of 40 lines of 12 words, drawn from a vocabulary as a language has it
    PageText text{kWidth, kHeight, {}};
    std::size_t characters = 0;
    unsigned random = 1;
    for (int row = 0; row < 40; ++row) {
        PageLine line{10 + row * 19, 15, {}};
        for (int column = 0; column < 12; ++column) {
            random = random * 1103515245U + 12345U;
            std::string word = "word";
            for (unsigned rest = random >> 16 & 0xFFFU; rest > 0; rest /= 16)
                word += static_cast<char>('a' + rest % 16);
            const int left = 20 + column * 95 + static_cast<int>(random >> 8 & 7U);
            line.words.push_back(
                {word, left, 70 + static_cast<int>(random >> 4 & 15U), column > 0});
            characters += word.size() + 1;
        }
        text.lines.push_back(line);
    }
    write({pageWith(nullptr)});
    const std::size_t before = m_size;
    write({pageWith(&text)});
    EXPECT_LE(m_size - before, 3 * 1024 + 4 * characters);
    EXPECT_EQ(wordsOf(output({"pdftotext", m_path, "-"})).size(), 40U * 12);
}

TEST(TextFont, fileIsAFontOfLessThanOneKilobyte)
{
    const Bytes file = TextFont::file();
    EXPECT_LT(file.size(), 300U);
    // the sum over a font is this number (TrueType, "The 'head' table")
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < file.size(); i += 4)
        sum += std::uint32_t{file[i]} << 24 | std::uint32_t{file[i + 1]} << 16
            | std::uint32_t{file[i + 2]} << 8 | file[i + 3];
    EXPECT_EQ(sum, 0xB1B0AFBA);
}

TEST(TextFont, codesAreOfTwoBytesAndRemembered)
{
    TextFont font;
    EXPECT_EQ(font.encode(U"A中"), std::string("\0A\x4E\x2D", 4));
    EXPECT_DOUBLE_EQ(TextFont::widthOf(font.encode(U"A中")), 1.55);
    EXPECT_EQ(font.encode({0, 0xFEFF, 0xD800, 0xFFFF}), "\xFF\xFD\xFF\xFD\xFF\xFD\xFF\xFD");
    EXPECT_EQ(font.encode({0x20000}), font.encode({0x20000}));
    EXPECT_NE(font.encode({0x20000}), font.encode({0x20001}));
    const std::string meaning = font.toUnicode();
    EXPECT_THAT(meaning, HasSubstr("<4E00> <4EFF> <4E00>"));
    EXPECT_THAT(meaning, HasSubstr("<D800> <D840DC00>"));
    EXPECT_THAT(meaning, HasSubstr("<D801> <D840DC01>"));
    EXPECT_THAT(meaning, testing::Not(HasSubstr("<4F00>")));
    EXPECT_EQ(TextFont::glyphs().size(), 0x20000U);
}

TEST(TextFont, moreFarCharactersThanCodesBecomeReplacements)
{
    TextFont font;
    for (char32_t i = 0; i < 0x800; ++i)
        EXPECT_NE(font.encode({0x20000 + i}), "\xFF\xFD");
    EXPECT_EQ(font.encode({0x20000 + 0x800}), "\xFF\xFD");
}
