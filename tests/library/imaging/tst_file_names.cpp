#include "library/output/file_names.h"

#include <gtest/gtest.h>

using namespace korv;

TEST(FileNames, foldersAndNamesAreSplitAtTheLastSlash)
{
    EXPECT_EQ(folderOf("/a/b/c.pdf"), "/a/b");
    EXPECT_EQ(folderOf("/c.pdf"), "/");
    EXPECT_EQ(folderOf("c.pdf"), ".");
    EXPECT_EQ(fileNameOf("/a/b/c.pdf"), "c.pdf");
    EXPECT_EQ(fileNameOf("c.pdf"), "c.pdf");
    EXPECT_EQ(fileNameOf("/a/b/"), "");
}

TEST(FileNames, extensionIsWhatStandsBehindTheLastDotOfTheName)
{
    EXPECT_EQ(extensionOf("/a.b/c.PDF"), "pdf");
    EXPECT_EQ(extensionOf("/a.b/c"), "");
    EXPECT_EQ(extensionOf("c.tar.JpG"), "jpg");
    EXPECT_EQ(extensionOf("/a/.pdf"), "");
    EXPECT_EQ(extensionOf("/a/.hidden-0001.jpg"), "jpg");
    EXPECT_EQ(extensionOf("c."), "");
    EXPECT_EQ(extensionOf(""), "");
}

TEST(FileNames, temporaryNamesAreHiddenAndDiffer)
{
    const std::string name = randomTemporaryName();
    EXPECT_EQ(name[0], '.');
    EXPECT_NE(name, randomTemporaryName());
}
