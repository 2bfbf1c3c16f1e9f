// Photographs whose export failed, and photographs that an ended program left.

#include "tests/faults/child.h"
#include "tests/faults/desk.h"
#include "tests/faults/shims/fault_shim.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/surroundings.h"

#include <cerrno>
#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kFileSystems[] = {0, NoNamelessFiles, NoNamelessFiles | NoRenameWithoutReplacing,
                                kBareFileSystem, kBareFileSystem | NoLocks};

class KeptPhotographs : public testing::Test
{
protected:
    void TearDown() override
    {
        disarmFault();
        setMissingFeatures(0);
    }
    int combineAll(const Desk &desk, const std::string &output) const
    {
        for (int i = 0; i < Desk::kPhotographs; ++i)
            EXPECT_EQ(m_library.add(desk.workingFile(i).c_str()), 0);
        testing::internal::CaptureStderr();
        const int result = m_library.combine(output.c_str());
        m_messages = testing::internal::GetCapturedStderr();
        return result;
    }
    int save(int photograph, const std::string &path) const
    {
        korv::Bytes frame = Desk::photograph(photograph);
        frame.resize(std::size_t{Desk::kWidth} * Desk::kHeight * 3);
        testing::internal::CaptureStderr();
        const int result =
            m_library.saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight, 0, path.c_str());
        m_messages = testing::internal::GetCapturedStderr();
        return result;
    }

    support::TempHome m_home;
    CameraLibrary m_library;
    mutable std::string m_messages;
};

std::ptrdiff_t entries(const fs::path &folder)
{
    return std::distance(fs::directory_iterator(folder), {});
}

} // namespace

TEST_F(KeptPhotographs, fullFolderWithoutLinksRenamesThem)
{
    for (const std::string name : {"0001.pdf", "0001.tiff", "0001.ofd"}) {
        const Desk desk(m_home.scratch());
        setMissingFeatures(kBareFileSystem);
        armFault("full", 1, ENOSPC);
        EXPECT_EQ(combineAll(desk, desk.path(name)), -ENOSPC) << name;
        disarmFault();
        desk.deleteWorkingFiles();
        for (int i = 0; i < Desk::kPhotographs; ++i)
            EXPECT_EQ(desk.countRescued(i), 1) << m_messages;
        EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs);
        for (const fs::directory_entry &left : fs::directory_iterator(desk.folder()))
            fs::remove(left);
    }
}

TEST_F(KeptPhotographs, nothingIsTouchedForAProgramThatDeletesNothing)
{
    const Desk desk(m_home.scratch());
    setMissingFeatures(kBareFileSystem);
    setenv("KORV_CAMERA_NO_RESCUE", "1", 1);
    armFault("full", 1, ENOSPC);
    EXPECT_EQ(combineAll(desk, desk.path("0001.pdf")), -ENOSPC);
    disarmFault();
    unsetenv("KORV_CAMERA_NO_RESCUE");
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(pictures::readBytes(desk.workingFile(i)), Desk::photograph(i));
    EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs);
}

TEST_F(KeptPhotographs, fullFolderWithoutLinksRenamesAConvertedOne)
{
    const Desk desk(m_home.scratch());
    setMissingFeatures(kBareFileSystem);
    for (const std::string name : {"0001.jpg", "0002.png", "0003.bmp"}) {
        armFault("full", 1, ENOSPC);
        const int index = name[3] - '1';
        testing::internal::CaptureStderr();
        EXPECT_EQ(m_library.convert(desk.workingFile(index).c_str(), desk.path(name).c_str()),
                  -ENOSPC);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("-rescued-0001"));
        disarmFault();
    }
    desk.deleteWorkingFiles();
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(desk.countRescued(i), 1);
}

TEST_F(KeptPhotographs, renamingNeverReplacesAnotherFile)
{
    const Desk desk(m_home.scratch());
    const korv::Bytes other(10, 1);
    pictures::writeBytes(desk.path("0001-rescued-0001.jpg"), other);
    fs::create_symlink("nowhere", desk.path("0001-rescued-0002.jpg"));
    setMissingFeatures(kBareFileSystem);
    armFault("full", 1, ENOSPC);
    EXPECT_EQ(combineAll(desk, desk.path("0001.pdf")), -ENOSPC);
    disarmFault();
    desk.deleteWorkingFiles();
    EXPECT_EQ(pictures::readBytes(desk.path("0001-rescued-0001.jpg")), other);
    EXPECT_TRUE(fs::is_symlink(desk.path("0001-rescued-0002.jpg")));
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(desk.countRescued(i), 1);
}

TEST_F(KeptPhotographs, linkedWorkingFileOnAFullDiskStaysReadable)
{
    const Desk desk(m_home.scratch());
    fs::rename(desk.workingFile(0), desk.path("real.jpg"));
    fs::create_symlink("real.jpg", desk.workingFile(0));
    setMissingFeatures(kBareFileSystem);
    armFault("full", 1, ENOSPC);
    fs::create_directory(desk.path("other"));
    EXPECT_EQ(combineAll(desk, desk.path("other/0001.pdf")), -ENOSPC);
    disarmFault();
    desk.deleteWorkingFiles();
    EXPECT_EQ(pictures::readBytes(desk.path("real.jpg")), Desk::photograph(0));
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(desk.folder())) {
        if (entry.is_symlink()) {
            EXPECT_EQ(pictures::readBytes(entry.path()), Desk::photograph(0)) << entry.path();
        }
    }
}

TEST_F(KeptPhotographs, onePageListedTwiceIsKeptOnce)
{
    const Desk desk(m_home.scratch());
    setMissingFeatures(kBareFileSystem);
    EXPECT_EQ(m_library.add(desk.workingFile(0).c_str()), 0);
    armFault("full", 1, ENOSPC);
    EXPECT_EQ(combineAll(desk, desk.path("0001.pdf")), -ENOSPC);
    disarmFault();
    desk.deleteWorkingFiles();
    EXPECT_EQ(desk.countRescued(0), 1);
    EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs);
}

TEST_F(KeptPhotographs, emptyWorkingFileIsNothingToKeep)
{
    const Desk desk(m_home.scratch());
    pictures::writeBytes(desk.workingFile(0), {});
    EXPECT_EQ(m_library.convert(desk.workingFile(0).c_str(), desk.path("a.pdf").c_str()), -EBADMSG);
    EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs);
}

TEST_F(KeptPhotographs, visibleSourcesStayAloneWhereTheyAre)
{
    const Desk desk(m_home.scratch());
    for (int i = 0; i < Desk::kPhotographs; ++i)
        fs::rename(desk.workingFile(i), desk.path(std::to_string(i) + ".jpg"));
    for (const std::string name : {"0.jpg", "1.jpg", "2.jpg"})
        EXPECT_EQ(m_library.add(desk.path(name).c_str()), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_library.combine(desk.path("none/0001.pdf").c_str()), -ENOENT);
    EXPECT_EQ(m_library.convert(desk.path("0.jpg").c_str(), desk.path("none/a.png").c_str()),
              -ENOENT);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::Not(testing::HasSubstr("kept")));
    EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs);
}

TEST_F(KeptPhotographs, newPhotographNeverDestroysTheOneThatIsThere)
{
    for (const int missing : kFileSystems) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        pictures::writeBytes(desk.path("recovered-0001.jpg"), korv::Bytes(10, 1));
        setMissingFeatures(missing);
        ASSERT_EQ(save(2, desk.workingFile(0)), 0) << m_messages;
        EXPECT_THAT(m_messages, testing::HasSubstr(desk.path("recovered-0002.jpg")));
        EXPECT_EQ(pictures::readBytes(desk.workingFile(0)), Desk::photograph(2));
        EXPECT_EQ(pictures::readBytes(desk.path("recovered-0002.jpg")), Desk::photograph(0));
        EXPECT_EQ(pictures::readBytes(desk.path("recovered-0001.jpg")), korv::Bytes(10, 1));
        EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs + 2) << missing;
    }
}

TEST_F(KeptPhotographs, photographThatFailsLeavesTheOneThatIsThere)
{
    const Desk desk(m_home.scratch());
    armFault("full", 1, ENOSPC);
    EXPECT_EQ(save(2, desk.workingFile(0)), -ENOSPC);
    EXPECT_EQ(pictures::readBytes(desk.workingFile(0)), Desk::photograph(0));
    EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs);
}

TEST_F(KeptPhotographs, visibleAndEmptyFilesAreReplacedAsEver)
{
    const Desk desk(m_home.scratch());
    pictures::writeBytes(desk.path("a.jpg"), Desk::photograph(0));
    pictures::writeBytes(desk.path(".hidden.jpg"), Desk::photograph(0));
    pictures::writeBytes(desk.path(".x-preview-0007.jpg"), {});
    for (const std::string name : {"a.jpg", ".hidden.jpg", ".x-preview-0007.jpg"}) {
        for (const int missing : kFileSystems) {
            if (name[1] == 'x')
                pictures::writeBytes(desk.path(name), {});
            setMissingFeatures(missing);
            EXPECT_EQ(save(1, desk.path(name)), 0) << name;
            EXPECT_EQ(pictures::readBytes(desk.path(name)), Desk::photograph(1));
        }
    }
    EXPECT_EQ(entries(desk.folder()), Desk::kPhotographs + 3);
}

TEST_F(KeptPhotographs, importedPictureOfAnotherKindIsRecoveredUnderItsOwnExtension)
{
    const Desk desk(m_home.scratch());
    const korv::Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    pictures::writeBytes(desk.workingFile(0), png);
    EXPECT_EQ(save(1, desk.workingFile(0)), 0);
    EXPECT_EQ(pictures::readBytes(desk.path("recovered-0001.png")), png);
}

TEST_F(KeptPhotographs, twoProgramsThatTakePhotographsAtOnceKeepAll)
{
    constexpr int kEach = 40;
    for (const int missing : kFileSystems) {
        if ((missing & NoLocks) != 0)
            continue; // without any lock, the name is free for a moment
        const support::TempHome home;
        const Desk desk(home.scratch());
        desk.deleteWorkingFiles();
        const auto takeMany = [&] {
            setMissingFeatures(missing);
            armFault("quiet", 1, 0);
            ::close(STDERR_FILENO);
            for (int i = 0; i < kEach; ++i) {
                korv::Bytes frame = Desk::photograph(0);
                frame.resize(std::size_t{Desk::kWidth} * Desk::kHeight * 3);
                if (m_library.saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight, 0,
                                            desk.workingFile(0).c_str())
                    != 0)
                    return 1;
            }
            return 0;
        };
        EXPECT_EQ(inChild([&] {
                      int second = 0;
                      const pid_t other = ::fork();
                      const int first = takeMany();
                      if (other == 0)
                          ::_exit(first);
                      ::waitpid(other, &second, 0);
                      return first + (second == 0 ? 0 : 2);
                  }),
                  0)
            << missing;
        EXPECT_EQ(entries(desk.folder()), 2 * kEach) << missing;
        EXPECT_EQ(desk.countFinished(0), 2 * kEach) << missing;
    }
}

TEST_F(KeptPhotographs, pageIsCopiedOnceHoweverManyNamesAreTaken)
{
    const Desk desk(m_home.scratch());
    for (int i = 1; i <= 60; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "0001-rescued-%04d.jpg", i);
        pictures::writeBytes(desk.path(name), korv::Bytes(1));
    }
    setMissingFeatures(kBareFileSystem);
    pictures::writeBytes(desk.workingFile(0), korv::Bytes(1000, 'x'));
    armFault("write", 10, EIO);
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_library.convert(desk.workingFile(0).c_str(), desk.path("0001.png").c_str()),
              -EBADMSG);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(disarmFault()) << "ten writes or more for one page";
    EXPECT_EQ(pictures::readBytes(desk.path("0001-rescued-0061.jpg")), korv::Bytes(1000, 'x'));
}

TEST_F(KeptPhotographs, folderThatMayBeWrittenButNotReadTakesFiles)
{
    constexpr uid_t kNobody = 65534;
    if (::geteuid() != 0 || !support::hasUser(kNobody))
        GTEST_SKIP() << "needs root, to become somebody whom rights bind";
    ::chmod(m_home.scratch().parent_path().c_str(), 0711);
    for (const int missing : kFileSystems) {
        const fs::path folder = m_home.scratch() / ("wx" + std::to_string(missing));
        fs::create_directory(folder);
        const Desk desk(folder);
        ASSERT_EQ(::chown(folder.c_str(), kNobody, kNobody), 0);
        for (int i = 0; i < Desk::kPhotographs; ++i)
            ASSERT_EQ(::chown(desk.workingFile(i).c_str(), kNobody, kNobody), 0);
        ::chmod(folder.c_str(), 0300);
        testing::internal::CaptureStderr();
        EXPECT_EQ(
            inChild([&] {
                if (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)
                    return 1;
                setMissingFeatures(missing);
                korv::Bytes frame = Desk::photograph(1);
                frame.resize(std::size_t{Desk::kWidth} * Desk::kHeight * 3);
                if (m_library.saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight, 0,
                                            desk.workingFile(0).c_str())
                    != 0)
                    return 2;
                if (m_library.convert(desk.workingFile(0).c_str(), desk.path("0001.jpg").c_str())
                    != 0)
                    return 3;
                if (m_library.convert(desk.workingFile(2).c_str(),
                                      desk.path("none/0001.jpg").c_str())
                    != -ENOENT)
                    return 4;
                return 0;
            }),
            0)
            << missing;
        const std::string messages = testing::internal::GetCapturedStderr();
        EXPECT_EQ(pictures::readBytes(desk.path("0001.jpg")), Desk::photograph(1));
        EXPECT_EQ(pictures::readBytes(desk.path("recovered-0001.jpg")), Desk::photograph(0));
        EXPECT_EQ(desk.countRescued(2), 1) << messages;
    }
}
