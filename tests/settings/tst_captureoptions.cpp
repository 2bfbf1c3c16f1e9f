#include "settings/captureoptions.h"

#include "tests/support/qt_printing.h"

#include <gmock/gmock.h>

namespace {

using captureoptions::Choice;

template <std::size_t Size>
void expectChoices(const std::array<Choice, Size> &choices,
                   const std::vector<std::pair<QString, int>> &expected)
{
    ASSERT_EQ(choices.size(), expected.size());
    for (std::size_t i = 0; i < Size; ++i) {
        EXPECT_EQ(QString::fromUtf8(choices[i].text), expected[i].first);
        EXPECT_EQ(choices[i].code, expected[i].second);
    }
}

} // namespace

TEST(CaptureOptions, coloursStandAtTheirCodes)
{
    const auto list = captureoptions::colourList();
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].name, QStringLiteral("彩色"));
    EXPECT_EQ(list[0].index, 0);
    EXPECT_EQ(list[0].key, QStringLiteral("color"));
    EXPECT_EQ(list[1].name, QStringLiteral("灰度"));
    EXPECT_EQ(list[1].index, 1);
    EXPECT_EQ(list[1].key, QStringLiteral("gray"));
    EXPECT_EQ(list[2].name, QStringLiteral("黑白"));
    EXPECT_EQ(list[2].index, 2);
    EXPECT_EQ(list[2].key, QStringLiteral("lineart"));
}

TEST(CaptureOptions, codeThatIsNoColourIsUnknown)
{
    EXPECT_EQ(captureoptions::colourName(2), QStringLiteral("黑白"));
    EXPECT_EQ(captureoptions::colourName(3), QStringLiteral("未知"));
    EXPECT_EQ(captureoptions::colourName(-1), QStringLiteral("未知"));
}

TEST(CaptureOptions, fileTypesInSelectorOrder)
{
    EXPECT_EQ(captureoptions::fileTypes().join(QLatin1Char(' ')),
              QStringLiteral("jpg bmp pdf ofd png tiff"));
}

TEST(CaptureOptions, cropAndRotationCodes)
{
    expectChoices(captureoptions::kCropChoices,
                  {{QStringLiteral("无"), -1}, {QStringLiteral("自动裁切"), 0}});
    expectChoices(captureoptions::kRotationChoices,
                  {{QStringLiteral("无"), 0},
                   {QStringLiteral("左旋90度"), 1},
                   {QStringLiteral("右旋90度"), 2},
                   {QStringLiteral("旋转180度"), 3}});
}
