#include "library/documents/decimal.h"
#include "library/documents/pdf/pdf_text.h"
#include "library/values/random_text.h"
#include "library/values/utf8.h"

#include <clocale>
#include <gtest/gtest.h>

using namespace korv;

TEST(Decimal, isShortAndWithoutExponent)
{
    EXPECT_EQ(decimal(209.973, 3), "209.973");
    EXPECT_EQ(decimal(210.0, 3), "210");
    EXPECT_EQ(decimal(0.5, 3), "0.5");
    EXPECT_EQ(decimal(0.0001, 3), "0");
    EXPECT_EQ(decimal(1e9, 3), "1000000000");
    EXPECT_EQ(decimal(100, 0), "100");
    EXPECT_EQ(decimal(1.99996, 4), "2");
}

TEST(PdfText, asciiIsLiteralWithItsThreeLettersEscaped)
{
    EXPECT_EQ(pdfText("0001"), "(0001)");
    EXPECT_EQ(pdfText("a(b)c\\d"), "(a\\(b\\)c\\\\d)");
    EXPECT_EQ(pdfText(""), "()");
}

TEST(PdfText, everythingElseIsUtf16)
{
    EXPECT_EQ(pdfText("\xE9\xA1\xB5"), "<FEFF9875>");
    EXPECT_EQ(pdfText("\xF0\x9F\x93\x84"), "<FEFFD83DDCC4>");
    EXPECT_EQ(pdfText("a\n"), "<FEFF0061000A>");
    EXPECT_EQ(pdfText("\xFF"), "<FEFFFFFD>");
}

TEST(PdfText, dateHasTheOffsetOfLocalTime)
{
    const std::string date = pdfDate(0);
    EXPECT_EQ(date.size(), 23U);
    EXPECT_EQ(date.substr(0, 2), "D:");
    EXPECT_EQ(date.back(), '\'');
}

TEST(Utf8, brokenSequencesBecomeTheReplacement)
{
    EXPECT_EQ(cleanUtf8("abc\xE9\xA1\xB5"), "abc\xE9\xA1\xB5");
    EXPECT_EQ(cleanUtf8("\xC0\xAF"), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(cleanUtf8("\xED\xA0\x80").substr(0, 3), "\xEF\xBF\xBD");
    EXPECT_EQ(cleanUtf8("x\xE9\xA1"), "x\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(cleanUtf8(std::string("\x01", 1)), "\xEF\xBF\xBD");
    EXPECT_EQ(cleanUtf8("\xEF\xBF\xBF"), "\xEF\xBF\xBD");
    EXPECT_EQ(utf16("\xF4\x8F\xBF\xBF"), u"\U0010FFFF");
}

TEST(RandomHex, hasTheLengthAndDiffers)
{
    const std::string id = randomHex(16);
    EXPECT_EQ(id.size(), 32U);
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(id, randomHex(16));
}
