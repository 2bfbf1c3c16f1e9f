// Real file systems that lack things: FAT has neither links nor nameless files, and neither has a
// way to rename without replacing.

#include "tests/faults/desk.h"
#include "tests/faults/mounted_disk.h"
#include "tests/faults/sequence.h"
#include "tests/library/support/sample_pictures.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kDiskSize = 8 << 20;

/// NTFS adds the new name before it takes the old one away, and a small folder's index must grow
/// for that; a photograph needs more than this.
std::uintmax_t leastRoom(const std::string &kind)
{
    return kind == "ntfs" ? 4 * 4096 : 0;
}

void asPdf(sequence::Step &step)
{
    if (step.order.format == sequence::Order::Format::Tiff)
        step.order.format = sequence::Order::Format::Pdf;
}

class MountedDisksTest : public testing::TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        m_disk = std::make_unique<MountedDisk>(GetParam(), m_home.scratch(), kDiskSize);
        if (!m_disk->problem().empty())
            GTEST_SKIP() << m_disk->problem();
    }
    fs::path folder() const
    {
        fs::create_directories(m_disk->folder() / "saved");
        return m_disk->folder() / "saved";
    }

    support::TempHome m_home;
    CameraLibrary m_library;
    std::unique_ptr<MountedDisk> m_disk;
};

INSTANTIATE_TEST_SUITE_P(Kinds, MountedDisksTest, testing::Values("fat", "ntfs"));

} // namespace

TEST_P(MountedDisksTest, fullOneKeepsEveryPhotograph)
{
    const Desk desk(folder());
    for (const std::string name : {"0001.pdf", "0002.png"}) {
        m_disk->fill(leastRoom(GetParam()));
        testing::internal::CaptureStderr();
        if (name == "0001.pdf") {
            for (int i = 1; i < Desk::kPhotographs; ++i)
                EXPECT_EQ(m_library.add(desk.workingFile(i).c_str()), 0);
            EXPECT_LT(m_library.combine(desk.path(name).c_str()), 0);
        } else {
            EXPECT_LT(m_library.convert(desk.workingFile(0).c_str(), desk.path(name).c_str()), 0);
        }
        const std::string messages = testing::internal::GetCapturedStderr();
        EXPECT_THAT(messages, testing::HasSubstr("kept ")) << name;
    }
    desk.deleteWorkingFiles();
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(desk.countRescued(i), 1) << i;
    EXPECT_THAT(desk.strangers({}), testing::IsEmpty());
}

TEST_P(MountedDisksTest, existingFilesStay)
{
    const Desk desk(folder());
    const korv::Bytes old(10, 1);
    pictures::writeBytes(desk.path("0001.jpg"), old);
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_library.convert(desk.workingFile(0).c_str(), desk.path("0001.jpg").c_str()), 0);
    korv::Bytes frame = Desk::photograph(2);
    frame.resize(std::size_t{Desk::kWidth} * Desk::kHeight * 3);
    EXPECT_EQ(m_library.saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight, 0,
                                      desk.workingFile(1).c_str()),
              0);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(pictures::readBytes(desk.path("0001.jpg")), old);
    EXPECT_EQ(pictures::readBytes(desk.path("0001 (1).jpg")), Desk::photograph(0));
    EXPECT_EQ(pictures::readBytes(desk.path("recovered-0001.jpg")), Desk::photograph(1));
    EXPECT_EQ(pictures::readBytes(desk.workingFile(1)), Desk::photograph(2));
}

TEST_P(MountedDisksTest, sequencesLoseNoPhotograph)
{
    constexpr unsigned kSequences = 8;
    for (unsigned seed = 1; seed <= kSequences; ++seed) {
        sequence::Steps steps = sequence::randomSteps(seed);
        // fusefat 0.1a loses a write that comes before a hole, and a TIFF's tables leave holes
        if (std::string(GetParam()) == "fat")
            std::for_each(steps.begin(), steps.end(), asPdf);
        const std::string wrong = sequence::run(steps, folder(), 0);
        if (wrong.empty())
            continue;
        const sequence::Steps fewer = sequence::shortened(steps, folder(), 0);
        FAIL() << seed << ": " << wrong << '\n' << sequence::textOf(fewer);
    }
}
