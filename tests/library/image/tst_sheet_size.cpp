#include "library/image/sheet_size.h"

#include <gtest/gtest.h>

using namespace korv;

namespace {

void expectSheet(const std::optional<SheetSize> &sheet, double width, double height)
{
    ASSERT_TRUE(sheet);
    EXPECT_DOUBLE_EQ(sheet->width, width);
    EXPECT_DOUBLE_EQ(sheet->height, height);
}

} // namespace

TEST(SheetByShape, commonSheetsAreKnownByTheirShape)
{
    expectSheet(sheetByShape(2100, 2970), 210, 297);
    expectSheet(sheetByShape(2970, 2100), 297, 210);
    expectSheet(sheetByShape(2100, 2920), 210, 297);
    expectSheet(sheetByShape(850, 1100), 215.9, 279.4);
    expectSheet(sheetByShape(856, 540), 85.6, 53.98);
    expectSheet(sheetByShape(540, 856), 53.98, 85.6);
    EXPECT_FALSE(sheetByShape(1000, 1000));
    EXPECT_FALSE(sheetByShape(1000, 1355));
    EXPECT_FALSE(sheetByShape(1000, 3000));
}

TEST(SheetBySize, measuredSheetsWithinTheToleranceAreCommonOnes)
{
    expectSheet(sheetBySize({152, 206}), 148, 210);
    expectSheet(sheetBySize({300, 208}), 297, 210);
    expectSheet(sheetBySize({425, 296}), 420, 297);
    expectSheet(sheetBySize({216, 279}), 215.9, 279.4);
    expectSheet(sheetBySize({54, 86}), 53.98, 85.6);
    expectSheet(sheetBySize({80, 200}), 80, 200);
    expectSheet(sheetBySize({200, 280}), 200, 280);
}
