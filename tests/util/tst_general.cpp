#include "util/general.h"

#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr char kBelowHome[] = "/.config/vexalin/plixo-base/";

class General : public testing::Test
{
protected:
    /// Puts a command of our own before the system's, which writes down its arguments.
    std::string recordedMkdir(const char *path, int mode)
    {
        const fs::path folder = home.scratch() / "bin";
        const fs::path record = home.scratch() / "record";
        fs::create_directory(folder);
        const fs::path script =
            home.write("bin/mkdir", "#!/bin/sh\necho \"mkdir $*\" >> '" + record.string() + "'\n");
        fs::permissions(script, fs::perms::owner_all);
        const support::ScopedVariable search{"PATH", folder.string() + ":/usr/bin:/bin"};
        EXPECT_EQ(general::Korv_Config_Mkdir(path, mode), 0);
        return support::readFile(record);
    }

    static mode_t modeOf(const fs::path &path)
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }

    support::TempHome home;
    support::StdoutCapture output;
};

} // namespace

TEST_F(General, mkdirWithoutModeRunsPlainCommand)
{
    EXPECT_EQ(recordedMkdir("/tmp/a/b", 0), "mkdir -p /tmp/a/b\n");
    EXPECT_EQ(output.take(), "");
}

TEST_F(General, mkdirWritesModeInDecimalBehindZero)
{
    EXPECT_EQ(recordedMkdir("/tmp/a/b", 777), "mkdir -p -m 0777 /tmp/a/b\n");
    EXPECT_EQ(recordedMkdir("/tmp/c", 75), "mkdir -p -m 0777 /tmp/a/b\nmkdir -p -m 075 /tmp/c\n");
}

TEST_F(General, mkdirCreatesMissingParentsWithTheModeOnTheLast)
{
    const fs::path folder = home.scratch() / "a" / "b";
    const mode_t previous = umask(022);
    EXPECT_EQ(general::Korv_Config_Mkdir(folder.c_str(), 777), 0);
    umask(previous);
    EXPECT_EQ(modeOf(folder), 0777U);
    EXPECT_EQ(modeOf(folder.parent_path()), 0755U);
}

TEST_F(General, mkdirLeavesThePathToTheShell)
{
    const fs::path folder = home.scratch() / "two words";
    EXPECT_EQ(general::Korv_Config_Mkdir((home.scratch() / "one")
                                             .string()
                                             .append(" ")
                                             .append((home.scratch() / "two").string())
                                             .c_str(),
                                         0),
              0);
    EXPECT_TRUE(fs::is_directory(home.scratch() / "one"));
    EXPECT_TRUE(fs::is_directory(home.scratch() / "two"));
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(General, mkdirReportsFailureInTextOnly)
{
    const fs::path file = home.write("file", "");
    EXPECT_EQ(general::Korv_Config_Mkdir((file / "below").c_str(), 0), 0);
    // mkdir ends with 1, which system() reports as a wait status
    EXPECT_EQ(output.take(), "err no:256\n");
}

TEST_F(General, mkdirTakesTheLongestCommandThatFits)
{
    // "mkdir -p " and the path make 1023 bytes
    std::string path = home.scratch().string();
    while (path.size() < 1023 - 9)
        path += path.size() % 100 == 0 ? '/' : 'x';
    ASSERT_EQ(path.size(), 1014U);
    EXPECT_EQ(general::Korv_Config_Mkdir(path.c_str(), 0), 0);
    EXPECT_TRUE(fs::is_directory(path));
    EXPECT_EQ(output.take(), "");
}

TEST_F(General, mkdirNeverRunsHalfACommand)
{
    std::string path = (home.scratch() / "deep").string();
    while (path.size() < 1015)
        path += path.size() % 100 == 0 ? '/' : 'x';
    EXPECT_EQ(general::Korv_Config_Mkdir(path.c_str(), 0), 0);
    EXPECT_EQ(output.take(), "err no:-1\n");
    EXPECT_TRUE(fs::is_empty(home.scratch()));
}

TEST_F(General, mkdirOfNothingIsReported)
{
    EXPECT_EQ(general::Korv_Config_Mkdir(nullptr, 777), 0);
    EXPECT_EQ(output.take(), "err no:-1\n");
}

TEST_F(General, workingPathIsCreatedBelowHome)
{
    std::array<char, 4096> out{};
    const std::string expected = home.home().string() + kBelowHome;
    const mode_t previous = umask(022);
    const int length = general::Korv_Config_GetTempPath(4096, out.data());
    umask(previous);
    EXPECT_EQ(out.data(), expected);
    EXPECT_EQ(length, static_cast<int>(expected.size()) + 1);
    EXPECT_EQ(modeOf(expected), 0777U);
    EXPECT_EQ(output.take(), "");
}

TEST_F(General, workingPathThatExistsIsLeftAlone)
{
    const fs::path folder = home.home().string() + kBelowHome;
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
    std::array<char, 4096> out{};
    EXPECT_GT(general::Korv_Config_GetTempPath(4096, out.data()), 0);
    EXPECT_EQ(modeOf(folder), 0700U);
}

TEST_F(General, workingPathIsCutToTheBuffer)
{
    std::array<char, 16> out;
    out.fill('#');
    EXPECT_EQ(general::Korv_Config_GetTempPath(8, out.data()), 8);
    EXPECT_EQ(std::string(out.data()), home.home().string().substr(0, 7));
    EXPECT_EQ(out[8], '#');
}

TEST_F(General, workingPathNeedsRoomForAText)
{
    char out = '#';
    EXPECT_EQ(general::Korv_Config_GetTempPath(0, &out), -1);
    EXPECT_EQ(general::Korv_Config_GetTempPath(-5, &out), -1);
    EXPECT_EQ(general::Korv_Config_GetTempPath(4096, nullptr), -1);
    EXPECT_EQ(out, '#');
}

TEST_F(General, workingPathNeedsAHome)
{
    std::array<char, 4096> out{"unchanged"};
    const support::ScopedVariable without{"HOME", std::nullopt};
    EXPECT_EQ(general::Korv_Config_GetTempPath(4096, out.data()), -1);
    EXPECT_STREQ(out.data(), "unchanged");
}

TEST_F(General, workingPathThatIsTooLongIsRefused)
{
    std::array<char, 4096> out{};
    const support::ScopedVariable longer{"HOME", "/" + std::string(4096, 'x')};
    EXPECT_EQ(general::Korv_Config_GetTempPath(4096, out.data()), -1);
    EXPECT_EQ(output.take(), "");
}

TEST_F(General, workingPathThatCannotBeCreatedIsReturnedAllTheSame)
{
    const fs::path file = home.write("file", "");
    const support::ScopedVariable blocked{"HOME", file.string()};
    std::array<char, 4096> out{};
    const std::string expected = file.string() + kBelowHome;
    EXPECT_EQ(general::Korv_Config_GetTempPath(4096, out.data()),
              static_cast<int>(expected.size()) + 1);
    EXPECT_EQ(output.take(), "err no:256\n");
}

TEST_F(General, copyCopiesNothing)
{
    const fs::path source = home.write("source", "content");
    const fs::path target = home.scratch() / "target";
    EXPECT_EQ(general::Korv_Config_Copy_File(source.c_str(), target.c_str()), 0);
    EXPECT_FALSE(fs::exists(target));
    EXPECT_EQ(general::Korv_Config_Copy_File((home.scratch() / "none").c_str(), target.c_str()),
              -1);
    EXPECT_EQ(general::Korv_Config_Copy_File(nullptr, target.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Copy_File(source.c_str(), nullptr), -1);
}

TEST_F(General, existenceOfFilesCountsDirectoriesIn)
{
    const fs::path file = home.write("file", "");
    EXPECT_EQ(general::Korv_Config_Is_Exit_File(file.c_str()), 0);
    EXPECT_EQ(general::Korv_Config_Is_Exit_File(home.scratch().c_str()), 0);
    EXPECT_EQ(general::Korv_Config_Is_Exit_File((home.scratch() / "none").c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Is_Exit_File(nullptr), -1);
}

TEST_F(General, existenceOfDirectoriesLeavesFilesOut)
{
    const fs::path file = home.write("file", "");
    EXPECT_EQ(general::Korv_Config_Is_Exit_Dir(home.scratch().c_str()), 0);
    EXPECT_EQ(general::Korv_Config_Is_Exit_Dir(file.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Is_Exit_Dir((home.scratch() / "none").c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Is_Exit_Dir(nullptr), -1);
}

TEST_F(General, ownersBitDecidesForTheOwner)
{
    const fs::path file = home.write("file", "");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(general::Korv_Config_Writable(file.c_str()), 0);
    EXPECT_EQ(general::Korv_Config_Readable(file.c_str()), 0);
    ASSERT_EQ(chmod(file.c_str(), 0400), 0);
    EXPECT_EQ(general::Korv_Config_Writable(file.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Readable(file.c_str()), 0);
    // everybody else may, the owner may not: the superuser too
    ASSERT_EQ(chmod(file.c_str(), 0066), 0);
    EXPECT_EQ(general::Korv_Config_Writable(file.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Readable(file.c_str()), -1);
}

TEST_F(General, groupsBitDecidesForTheGroup)
{
    const fs::path file = home.write("file", "");
    if (chown(file.c_str(), 65534, getegid()) != 0)
        GTEST_SKIP() << "only the superuser can give a file away, to users that the name space has";
    ASSERT_EQ(chmod(file.c_str(), 0060), 0);
    EXPECT_EQ(general::Korv_Config_Writable(file.c_str()), 0);
    EXPECT_EQ(general::Korv_Config_Readable(file.c_str()), 0);
    ASSERT_EQ(chmod(file.c_str(), 0606), 0);
    EXPECT_EQ(general::Korv_Config_Writable(file.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Readable(file.c_str()), -1);
}

TEST_F(General, othersBitDecidesForTheRest)
{
    const fs::path file = home.write("file", "");
    if (chown(file.c_str(), 65534, 65534) != 0)
        GTEST_SKIP() << "only the superuser can give a file away, to users that the name space has";
    ASSERT_EQ(chmod(file.c_str(), 0006), 0);
    EXPECT_EQ(general::Korv_Config_Writable(file.c_str()), 0);
    EXPECT_EQ(general::Korv_Config_Readable(file.c_str()), 0);
    ASSERT_EQ(chmod(file.c_str(), 0660), 0);
    EXPECT_EQ(general::Korv_Config_Writable(file.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Readable(file.c_str()), -1);
}

TEST_F(General, rightsOnNothingAreRefused)
{
    const fs::path none = home.scratch() / "none";
    EXPECT_EQ(general::Korv_Config_Writable(none.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Readable(none.c_str()), -1);
    EXPECT_EQ(general::Korv_Config_Writable(nullptr), -1);
    EXPECT_EQ(general::Korv_Config_Readable(nullptr), -1);
}

TEST_F(General, removeTakesFilesOnly)
{
    const fs::path file = home.write("file", "");
    EXPECT_EQ(general::Korv_Config_Remove_File(file.c_str()), 0);
    EXPECT_FALSE(fs::exists(file));
    errno = 0;
    EXPECT_EQ(general::Korv_Config_Remove_File(file.c_str()), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(general::Korv_Config_Remove_File(home.scratch().c_str()), -1);
    EXPECT_TRUE(fs::is_directory(home.scratch()));
    EXPECT_EQ(general::Korv_Config_Remove_File(nullptr), -1);
}
