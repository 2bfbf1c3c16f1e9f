#include "app/window/thumbnaillist.h"

#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

namespace {

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

} // namespace

TEST(ThumbnailListTest, copiesOwnNoFiles)
{
    const support::TempHome home;
    const std::filesystem::path path = home.write("a.jpg", "x");
    thumbnaillist::List list;
    thumbnaillist::append(list, text("0001"), QString::fromStdString(path.string()));
    {
        thumbnaillist::List copy = list;
        copy.clear();
    }
    EXPECT_TRUE(std::filesystem::exists(path));
    thumbnaillist::clear(list);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(list.empty());
}

TEST(ThumbnailListTest, filesAreNamedInUtf8)
{
    const support::TempHome home;
    const std::filesystem::path path = home.write("照片 1.jpg", "x");
    thumbnaillist::List list;
    thumbnaillist::append(list, text("0001"), QString::fromStdString(path.string()));
    thumbnaillist::removeFirst(list, text("0001"));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(ThumbnailListTest, insertionIntoAnEmptyListDoesNothing)
{
    thumbnaillist::List list;
    thumbnaillist::insertBefore(list, text("0001"), text("/a"));
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(thumbnaillist::fileAt(list, 0), QString());
    EXPECT_EQ(thumbnaillist::fileOf(list, text("0001")), QString());
    thumbnaillist::removeFirst(list, text("0001"));
    thumbnaillist::clear(list);
    EXPECT_TRUE(list.empty());
}

TEST(ThumbnailListTest, keysAreComparedExactly)
{
    thumbnaillist::List list;
    thumbnaillist::append(list, text("abc"), text("/a"));
    EXPECT_EQ(thumbnaillist::fileOf(list, text("ABC")), QString());
    EXPECT_EQ(thumbnaillist::fileOf(list, text("abc")), text("/a"));
    EXPECT_EQ(list.front().number, 0);
}
