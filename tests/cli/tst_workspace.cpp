#include "cli/documents/workspace.h"

#include "tests/support/surroundings.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using cli::Published;
using cli::Workspace;

class WorkspaceTest : public testing::Test
{
protected:
    static void write(const std::string &path, const std::string &text)
    {
        std::ofstream(path) << text;
    }

    std::string file(const std::string &name) const { return (m_home.scratch() / name).string(); }

    std::size_t entries() const
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_home.scratch()), {}));
    }

    support::TempHome m_home;
};

TEST_F(WorkspaceTest, leavesTheLockOnTheFolderToWhoeverWritesIntoIt)
{
    // the camera library takes it for each file, and waits a second for it
    const Workspace workspace(file("a.pdf"));
    const int folder = open(workspace.folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(flock(folder, LOCK_EX | LOCK_NB), 0);
    close(folder);
}

TEST_F(WorkspaceTest, isHiddenBesideTheFileAndGoesWithEverything)
{
    {
        const Workspace workspace(file("a.pdf"));
        ASSERT_EQ(workspace.error(), 0);
        EXPECT_EQ(fs::path(workspace.folder()).parent_path(), m_home.scratch());
        EXPECT_EQ(fs::path(workspace.folder()).filename().string()[0], '.');
        write(workspace.pathOf("a-rescued-0001.jpg"), "page");
    }
    EXPECT_EQ(entries(), 0U);
}

TEST_F(WorkspaceTest, folderThatIsNotThereIsAnError)
{
    EXPECT_EQ(Workspace(file("none/a.pdf")).error(), ENOENT);
}

TEST_F(WorkspaceTest, takenNamesStay)
{
    write(file("a.pdf"), "first");
    fs::create_symlink("nowhere", file("a (1).pdf"));
    fs::create_directory(file("a (2).pdf"));
    const Workspace workspace(file("a.pdf"));
    write(workspace.pathOf("a.pdf"), "new");
    EXPECT_TRUE(workspace.holds("a.pdf"));
    const Published published = workspace.publish(file("a.pdf"), false);
    EXPECT_EQ(published.error, 0);
    EXPECT_EQ(published.path, file("a (3).pdf"));
    EXPECT_EQ(support::readFile(published.path), "new");
    EXPECT_EQ(support::readFile(file("a.pdf")), "first");
    EXPECT_FALSE(workspace.holds("a.pdf"));
}

TEST_F(WorkspaceTest, nothingToPublishIsAnError)
{
    const Workspace workspace(file("a.pdf"));
    EXPECT_EQ(workspace.publish(file("a.pdf"), false).error, ENOENT);
    EXPECT_EQ(workspace.publish(file("a.pdf"), true).error, ENOENT);
}

TEST_F(WorkspaceTest, longNamesLoseLettersForTheNumber)
{
    const std::string name = std::string(251, 'n') + ".pdf";
    write(file(name), "first");
    const Workspace workspace(file(name));
    write(workspace.pathOf(name), "new");
    EXPECT_EQ(workspace.publish(file(name), false).path, file(std::string(247, 'n') + " (1).pdf"));
}

TEST_F(WorkspaceTest, foldersOfOthersAreLeftAlone)
{
    fs::create_directory(file(".korvcam-other"));
    const Workspace first(file("a.pdf"));
    const Workspace second(file("a.pdf"));
    EXPECT_EQ(second.error(), 0);
    EXPECT_TRUE(fs::exists(first.folder()));
    EXPECT_TRUE(fs::exists(file(".korvcam-other")));
}

/// From now on this process has a file system like FAT: no links, no renaming without replacing.
bool loseLinks()
{
    const auto refuse = [](int code) {
        return sock_filter BPF_STMT(BPF_RET | BPF_K,
                                    SECCOMP_RET_ERRNO | static_cast<unsigned>(code));
    };
    constexpr auto kNumber = offsetof(seccomp_data, nr);
    constexpr auto kFlags = offsetof(seccomp_data, args) + 4 * sizeof(__u64);
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_linkat, 0, 1),
        refuse(EPERM),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFlags),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0),
        refuse(EINVAL),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{sizeof program / sizeof *program, program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
        && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

TEST_F(WorkspaceTest, fileSystemWithoutLinksWorksToo)
{
    if (!support::canRefuseCalls())
        GTEST_SKIP() << "an emulator has no system call refused";
    write(file("a.pdf"), "first");
    const auto publish = [&] {
        if (!loseLinks())
            std::exit(77);
        const Workspace workspace(file("a.pdf"));
        write(workspace.pathOf("a.pdf"), "new");
        const bool refused = link(file("a.pdf").c_str(), file("b").c_str()) != 0
            || linkat(AT_FDCWD, file("a.pdf").c_str(), AT_FDCWD, file("c").c_str(), 0) != 0;
        const Published published = workspace.publish(file("a.pdf"), false);
        std::exit(refused && published.error == 0 && published.path == file("a (1).pdf") ? 0 : 1);
    };
    EXPECT_EXIT(publish(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(support::readFile(file("a.pdf")), "first");
    EXPECT_EQ(support::readFile(file("a (1).pdf")), "new");
}

} // namespace
