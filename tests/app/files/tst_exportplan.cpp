#include "app/files/exportplan.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct Row
{
    const char *format;
    exportplan::Kind single;
    exportplan::Kind multiPage;
};

std::ostream &operator<<(std::ostream &stream, const Row &row)
{
    return stream << '"' << row.format << '"';
}

constexpr auto kNone = exportplan::Kind::Unsupported;
constexpr auto kSingle = exportplan::Kind::SingleFiles;
constexpr auto kDocument = exportplan::Kind::OneDocument;

} // namespace

class ExportPlanTest : public testing::TestWithParam<Row>
{
};

TEST_P(ExportPlanTest, formatAndSwitchDecideTogether)
{
    const QString format = QString::fromLatin1(GetParam().format);
    EXPECT_EQ(exportplan::kindOf(format, false), GetParam().single);
    EXPECT_EQ(exportplan::kindOf(format, true), GetParam().multiPage);
}

INSTANTIATE_TEST_SUITE_P(
    formats, ExportPlanTest,
    testing::Values(Row{"jpg", kSingle, kSingle}, Row{"bmp", kSingle, kSingle},
                    Row{"pdf", kSingle, kDocument}, Row{"ofd", kSingle, kDocument},
                    Row{"png", kSingle, kSingle}, Row{"tiff", kSingle, kDocument},
                    Row{"tif", kNone, kNone}, Row{"JPG", kNone, kNone}, Row{"Pdf", kNone, kNone},
                    Row{"", kNone, kNone}, Row{"jpeg", kNone, kNone}, Row{"pdf ", kNone, kNone}));
