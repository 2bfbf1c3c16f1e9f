#include "library/device/device_name.h"

#include <gtest/gtest.h>

using korv::usableDeviceName;

TEST(deviceName, ordinaryNameStays)
{
    EXPECT_EQ(usableDeviceName("Cam 4K"), "Cam 4K");
    EXPECT_EQ(usableDeviceName("高拍仪"), "高拍仪");
}

TEST(deviceName, emptyAndBlankBecomeAName)
{
    EXPECT_EQ(usableDeviceName(""), "USB Camera");
    EXPECT_EQ(usableDeviceName("   "), "USB Camera");
    EXPECT_EQ(usableDeviceName(",,"), "USB Camera");
}

TEST(deviceName, commaAndControlCharactersBecomeBlanks)
{
    EXPECT_EQ(usableDeviceName("A,B"), "A B");
    EXPECT_EQ(usableDeviceName("A\nB\x7F"), "A B");
}

TEST(deviceName, outerBlanksGo)
{
    EXPECT_EQ(usableDeviceName("  Cam "), "Cam");
}

TEST(deviceName, brokenUtf8BecomesQuestionMarks)
{
    EXPECT_EQ(usableDeviceName("A\xFF"
                               "B"),
              "A?B");
    EXPECT_EQ(usableDeviceName("A\xC0\x80"), "A??"); // overlong
    EXPECT_EQ(usableDeviceName("\xED\xA0\x80"), "???"); // surrogate
    EXPECT_EQ(usableDeviceName("\xE9\xAB"), "??"); // cut off
    EXPECT_EQ(usableDeviceName("\xF4\x90\x80\x80"), "????"); // beyond U+10FFFF
}

TEST(deviceName, longNameIsCutTo63Bytes)
{
    EXPECT_EQ(usableDeviceName(std::string(63, 'x')).size(), 63U);
    EXPECT_EQ(usableDeviceName(std::string(200, 'x')), std::string(63, 'x'));
}

TEST(deviceName, cutNeverSplitsACharacter)
{
    EXPECT_EQ(usableDeviceName(std::string(62, 'x') + "高"), std::string(62, 'x'));
    EXPECT_EQ(usableDeviceName(std::string(60, 'x') + "高"), std::string(60, 'x') + "高");
    EXPECT_EQ(usableDeviceName(std::string(61, 'x') + "😀"), std::string(61, 'x'));
}
