#include "library/export/format.h"

#include <gtest/gtest.h>

using namespace korv;

TEST(Format, everyExtensionIsKnownInAnyCase)
{
    for (const char *name :
         {"a.jpg", "a.JPEG", "a.Png", "a.bmp", "a.TIF", "a.tiff", "a.pdf", "a.OfD"})
        EXPECT_NE(formatForPath(name), nullptr) << name;
}

TEST(Format, everythingElseIsUnknown)
{
    for (const char *name :
         {"a", "", "a.gif", "pdf", "a.pdf/", "a.pdf/b", "a.pd", "a.pdff", ".jpg"})
        EXPECT_EQ(formatForPath(name), nullptr) << name;
}

TEST(Format, everyFormatHasTheWriterOfItsKind)
{
    for (const char *name : {"a.jpg", "a.png", "a.bmp"}) {
        EXPECT_NE(formatForPath(name)->kind, FormatKind::Document);
        EXPECT_NE(formatForPath(name)->writePicture, nullptr);
    }
    for (const char *name : {"a.pdf", "a.ofd", "a.tif"}) {
        EXPECT_EQ(formatForPath(name)->kind, FormatKind::Document);
        EXPECT_NE(formatForPath(name)->makeDocument, nullptr);
    }
}
