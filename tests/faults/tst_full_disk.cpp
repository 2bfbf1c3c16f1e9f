#include "tests/faults/desk.h"
#include "tests/library/support/sample_pictures.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <sys/mount.h>

namespace fs = std::filesystem;

namespace {

/// A file system of its own in memory, of a size that ends.
class SmallDisk
{
public:
    SmallDisk(fs::path place, std::size_t bytes)
        : m_place(std::move(place))
    {
        fs::create_directories(m_place);
        const std::string options = "size=" + std::to_string(bytes);
        m_mounted = ::mount("small", m_place.c_str(), "tmpfs", 0, options.c_str()) == 0;
        m_error = m_mounted ? 0 : errno;
    }
    ~SmallDisk()
    {
        if (m_mounted)
            ::umount2(m_place.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    int error() const { return m_error; }

private:
    fs::path m_place;
    bool m_mounted = false;
    int m_error = 0;
};

constexpr std::size_t kPage = 4096;

class FullDiskTest : public testing::TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        const SmallDisk probe(m_home.scratch() / "probe", 16 * kPage);
        if (probe.error() != 0)
            GTEST_SKIP() << "no small disk can be mounted here: " << std::strerror(probe.error());
        for (int i = 0; i < Desk::kPhotographs; ++i)
            m_bytes += (Desk::photograph(i).size() + kPage - 1) / kPage * kPage;
    }
    static std::string output() { return std::string("0001.") + GetParam(); }

    support::TempHome m_home;
    CameraLibrary m_library;
    std::size_t m_bytes = 0; ///< that all photographs take on the disk
};

INSTANTIATE_TEST_SUITE_P(Formats, FullDiskTest, testing::Values("pdf", "ofd", "tiff"));

} // namespace

TEST_P(FullDiskTest, everyFillingKeepsEachPhotographOnce)
{
    bool fitted = false;
    bool failed = false;
    for (std::size_t room = 0; room < m_bytes + 40 * kPage; room += 7 * kPage) {
        SCOPED_TRACE(std::to_string(room) + " bytes free");
        // folders and files take a page each for themselves
        const SmallDisk disk(m_home.scratch() / "disk", m_bytes + room + kPage);
        const Desk desk(m_home.scratch() / "disk");
        for (int i = 0; i < Desk::kPhotographs; ++i)
            ASSERT_EQ(m_library.add(desk.workingFile(i).c_str()), 0);
        testing::internal::CaptureStderr();
        const int result = m_library.combine(desk.path(output()).c_str());
        const std::string messages = testing::internal::GetCapturedStderr();
        desk.deleteWorkingFiles();
        (result == 0 ? fitted : failed) = true;
        for (int i = 0; i < Desk::kPhotographs; ++i) {
            EXPECT_EQ(desk.countFinished(i), result == 0 ? 1 : 0);
            EXPECT_EQ(desk.countRescued(i), result == 0 ? 0 : 1) << messages;
        }
        EXPECT_TRUE(result == 0 || result == -ENOSPC) << result;
        EXPECT_THAT(desk.strangers({output()}), testing::IsEmpty());
    }
    EXPECT_TRUE(failed);
    EXPECT_TRUE(fitted);
}

TEST_P(FullDiskTest, photographsStayBesideThemselvesWhenTheOtherDiskIsFull)
{
    const SmallDisk disk(m_home.scratch() / "disk", 2 * kPage);
    fs::create_directory(m_home.scratch() / "work");
    const Desk desk(m_home.scratch() / "work");
    for (int i = 0; i < Desk::kPhotographs; ++i)
        ASSERT_EQ(m_library.add(desk.workingFile(i).c_str()), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_library.combine((m_home.scratch() / "disk" / output()).c_str()), -ENOSPC);
    testing::internal::GetCapturedStderr();
    desk.deleteWorkingFiles();
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(desk.countRescued(i), 1);
    EXPECT_TRUE(fs::is_empty(m_home.scratch() / "disk"));
}

TEST_P(FullDiskTest, photographsAreCopiedToAnotherDiskThatHasRoom)
{
    const SmallDisk disk(m_home.scratch() / "disk", 2 * m_bytes);
    fs::create_directory(m_home.scratch() / "work");
    const Desk desk(m_home.scratch() / "work");
    for (int i = 0; i < Desk::kPhotographs; ++i)
        ASSERT_EQ(m_library.add(desk.workingFile(i).c_str()), 0);
    // breaks between the adding and the combining
    for (int i = 0; i < Desk::kPhotographs; ++i)
        fs::resize_file(desk.workingFile(i), 1000);
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_library.combine((m_home.scratch() / "disk" / output()).c_str()), -EBADMSG);
    testing::internal::GetCapturedStderr();
    for (int i = 0; i < Desk::kPhotographs; ++i) {
        const fs::path kept =
            m_home.scratch() / "disk" / ("0001-rescued-000" + std::to_string(i + 1) + ".jpg");
        EXPECT_EQ(pictures::readBytes(kept), pictures::readBytes(desk.workingFile(i)));
    }
}
