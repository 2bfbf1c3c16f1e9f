#include "library/files/source_file.h"

#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace korv;

TEST(SourceFile, readsTheWholeFileAndUsesTheMemoryAgain)
{
    const support::TempHome home;
    Bytes content(100'000, 7);
    const std::string path = home.write("a", std::string(5000, 'x')).string();
    ASSERT_TRUE(readSourceFile(path, content));
    EXPECT_EQ(content, Bytes(5000, 'x'));
    EXPECT_GE(content.capacity(), 100'000U);
}

TEST(SourceFile, symbolicLinksAreFollowed)
{
    const support::TempHome home;
    const std::filesystem::path file = home.write("a", "content");
    const std::filesystem::path link = home.scratch() / "link";
    std::filesystem::create_symlink(file, link);
    Bytes content;
    ASSERT_TRUE(readSourceFile(link.string(), content));
    EXPECT_EQ(content.size(), 7U);
}

TEST(SourceFile, everythingButFilesIsRefusedAtOnce)
{
    const support::TempHome home;
    Bytes content;
    const std::string fifo = (home.scratch() / "fifo").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(readSourceFile(fifo, content).code(), -EINVAL);
    EXPECT_EQ(readSourceFile("/dev/zero", content).code(), -EINVAL);
    EXPECT_EQ(readSourceFile(home.scratch().string(), content).code(), -EISDIR);
    EXPECT_EQ(readSourceFile((home.scratch() / "none").string(), content).code(), -ENOENT);
    EXPECT_EQ(readSourceFile("", content).code(), -ENOENT);
}

TEST(SourceFile, hugeFileIsRefusedBeforeMemoryIsTaken)
{
    const support::TempHome home;
    const std::string path = home.write("sparse", "x").string();
    std::filesystem::resize_file(path, std::uintmax_t{3} << 30);
    Bytes content;
    EXPECT_EQ(readSourceFile(path, content).code(), -EFBIG);
    EXPECT_EQ(content.capacity(), 0U);
}
