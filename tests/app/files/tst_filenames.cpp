#include "app/files/filenames.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

TEST(FileNamesTest, numbersHaveAtLeastFourDigits)
{
    EXPECT_EQ(filenames::fourDigits(1), text("0001"));
    EXPECT_EQ(filenames::fourDigits(0), text("0000"));
    EXPECT_EQ(filenames::fourDigits(9999), text("9999"));
    EXPECT_EQ(filenames::fourDigits(10000), text("10000"));
    EXPECT_EQ(filenames::fourDigits(-5), text("-005"));
    EXPECT_EQ(filenames::fourDigits(INT_MAX), text("2147483647"));
}

TEST(FileNamesTest, workingFilesAreHidden)
{
    EXPECT_EQ(filenames::workingFile(text("/home/u"), text("0001")),
              text("/home/u/.vexalinplixo-preview-0001.jpg"));
    EXPECT_EQ(filenames::workingFile(text("/home/u/"), text("12345")),
              text("/home/u//.vexalinplixo-preview-12345.jpg"));
    EXPECT_EQ(filenames::workingFile(QString(), text("0001")),
              text("/.vexalinplixo-preview-0001.jpg"));
}

TEST(FileNamesTest, outputFilesAreNumberedAndNamedByFormat)
{
    EXPECT_EQ(filenames::outputFile(text("/home/u"), 1, text("pdf")), text("/home/u/0001.pdf"));
    EXPECT_EQ(filenames::outputFile(text("/文件/"), 10000, text("tiff")),
              text("/文件//10000.tiff"));
}

TEST(FileNamesTest, placeMarkersInAFolderArePlainText)
{
    EXPECT_EQ(filenames::workingFile(text("/a%2b%3"), text("0001")),
              text("/a%2b%3/.vexalinplixo-preview-0001.jpg"));
    EXPECT_EQ(filenames::outputFile(text("/a%2b%3"), 7, text("jpg")), text("/a%2b%3/0007.jpg"));
}
