#include "library/files/file_names.h"

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

TEST(FileNames, workingFilesAreHiddenNumberedPreviews)
{
    for (const char *name : {".vexalinplixo-preview-0001.jpg", "/a/b/.x-preview-12345.jpg",
                             "./.-preview-0000.jpg", ".a-preview--preview-0001.jpg"})
        EXPECT_TRUE(isWorkingFile(name)) << name;
    for (const char *name :
         {"", "/", ".", "x-preview-0001.jpg", "-preview-0001.jpg", ".x-preview-001.jpg",
          ".x-preview-0001.png", ".x-preview-0001.jpg~", ".x-preview-0001", ".x-preview-.jpg",
          ".x-preview-00 01.jpg", ".jpg", ".x-preview-0001.jpg/", "/.x-preview-0001.jpg/y.jpg"})
        EXPECT_FALSE(isWorkingFile(name)) << name;
}

TEST(FileNames, insertionStandsInFrontOfTheExtension)
{
    EXPECT_EQ(withInsertion("0001.pdf", " (1)"), "0001 (1).pdf");
    EXPECT_EQ(withInsertion("a.b.pdf", "-x"), "a.b-x.pdf");
    EXPECT_EQ(withInsertion("name", "-x"), "name-x");
    EXPECT_EQ(withInsertion(".hidden", "-x"), ".hidden-x");
    EXPECT_EQ(withInsertion("", "-x"), "-x");
}

TEST(FileNames, insertionCutsALongNameBetweenCharacters)
{
    std::string name;
    for (int i = 0; i < 83; ++i)
        name += "\xE9\xA1\xB5";
    const std::string result = withInsertion(name + ".pdf", " (1)");
    EXPECT_EQ(result, name.substr(0, 82 * 3) + " (1).pdf");
    EXPECT_LE(result.size(), 255U);
    EXPECT_LE(withInsertion(std::string(10, 'a') + "." + std::string(260, 'b'), "-x").size(), 263U);
}
