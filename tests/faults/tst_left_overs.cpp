// What a killed program leaves in a folder, and who clears it.

#include "tests/faults/child.h"
#include "tests/faults/desk.h"
#include "tests/faults/shims/fault_shim.h"
#include "tests/library/support/sample_pictures.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kMaxCalls = 400;

std::vector<std::string> parts(const fs::path &folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (entry.path().extension() == ".part")
            names.push_back(name);
    }
    return names;
}

std::vector<std::string> emptyFiles(const fs::path &folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file() && entry.file_size() == 0)
            names.push_back(entry.path().filename().string());
    }
    return names;
}

class LeftOvers : public testing::Test
{
protected:
    int convert(const Desk &desk, int index, const std::string &name) const
    {
        return m_library.convert(desk.workingFile(index).c_str(), desk.path(name).c_str());
    }
    /// A program that starts, exports and ends.
    int nextProgram(const Desk &desk, int missing) const
    {
        return inChild([&] {
            setMissingFeatures(missing);
            return convert(desk, 2, "other.jpg") == 0 ? 0 : 1;
        });
    }

    support::TempHome m_home;
    CameraLibrary m_library;
};

} // namespace

TEST_F(LeftOvers, nextProgramClearsWhatAKilledOneLeftAtWhateverMoment)
{
    for (const int missing : {kBareFileSystem, NoNamelessFiles + 0}) {
        int left = 0;
        int empty = 0;
        bool killed = true;
        for (int nth = 1; killed && nth < kMaxCalls; ++nth) {
            const support::TempHome home;
            const Desk desk(home.scratch());
            killed = inChild([&] {
                         setMissingFeatures(missing);
                         armFault("kill", nth, 0);
                         return convert(desk, 0, "0001.jpg") == 0 ? 0 : 1;
                     })
                == 128 + SIGKILL;
            left += parts(desk.folder()).empty() ? 0 : 1;
            empty += emptyFiles(desk.folder()).empty() ? 0 : 1;
            ASSERT_EQ(nextProgram(desk, missing), 0);
            EXPECT_THAT(parts(desk.folder()), testing::IsEmpty()) << nth;
            EXPECT_THAT(emptyFiles(desk.folder()), testing::IsEmpty()) << nth;
            EXPECT_EQ(pictures::readBytes(desk.path("other.jpg")), Desk::photograph(2));
            EXPECT_EQ(pictures::readBytes(desk.workingFile(0)), Desk::photograph(0));
        }
        EXPECT_FALSE(killed);
        EXPECT_GE(left, 2);
        if (missing == kBareFileSystem) {
            EXPECT_GE(empty, 1);
        }
    }
}

TEST_F(LeftOvers, replacedPhotographLeavesNothingEither)
{
    for (const int missing : {0, NoNamelessFiles + 0, kBareFileSystem}) {
        bool killed = true;
        for (int nth = 1; killed && nth < kMaxCalls; ++nth) {
            const support::TempHome home;
            const Desk desk(home.scratch());
            pictures::writeBytes(desk.path("old.jpg"), Desk::photograph(1));
            killed = inChild([&] {
                         setMissingFeatures(missing);
                         armFault("kill", nth, 0);
                         korv::Bytes frame = Desk::photograph(0);
                         frame.resize(std::size_t{Desk::kWidth} * Desk::kHeight * 3);
                         return -m_library.saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight,
                                                         0, desk.path("old.jpg").c_str());
                     })
                == 128 + SIGKILL;
            ASSERT_EQ(nextProgram(desk, missing), 0);
            EXPECT_THAT(parts(desk.folder()), testing::IsEmpty()) << nth;
            const korv::Bytes now = pictures::readBytes(desk.path("old.jpg"));
            EXPECT_TRUE(now == Desk::photograph(0) || now == Desk::photograph(1));
        }
        EXPECT_FALSE(killed);
    }
}

TEST_F(LeftOvers, filesOfALivingProgramStay)
{
    const Desk desk(m_home.scratch());
    const pid_t other = ::fork();
    ASSERT_GE(other, 0);
    if (other == 0) {
        setMissingFeatures(kBareFileSystem);
        armFault("stop", 1, 0); // stands still with its part written, before that is named
        const int result = convert(desk, 0, "0001.jpg");
        ::_exit(result == 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(other, &status, WUNTRACED), other);
    ASSERT_TRUE(WIFSTOPPED(status));
    ASSERT_EQ(parts(desk.folder()).size(), 1U);
    ASSERT_EQ(nextProgram(desk, kBareFileSystem), 0);
    EXPECT_EQ(parts(desk.folder()).size(), 1U);
    ::kill(other, SIGCONT);
    ASSERT_EQ(::waitpid(other, &status, 0), other);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(pictures::readBytes(desk.path("0001.jpg")), Desk::photograph(0));
    EXPECT_THAT(parts(desk.folder()), testing::IsEmpty());
}

TEST_F(LeftOvers, filesOfOtherMachinesAndOtherProgramsStay)
{
    const Desk desk(m_home.scratch());
    const std::vector<std::string> names = {".korv-00000000-abcdefghijkl.part",
                                            ".korv-abcdefghijkl.part", "x.part", ".korv-.part",
                                            ".korv-00000000-abcdefghijkl+0009.jpg.part"};
    for (const std::string &name : names)
        pictures::writeBytes(desk.path(name), {});
    pictures::writeBytes(desk.path("0009.jpg"), {});
    ASSERT_EQ(nextProgram(desk, kBareFileSystem), 0);
    EXPECT_THAT(parts(desk.folder()), testing::UnorderedElementsAreArray(names));
    EXPECT_TRUE(fs::exists(desk.path("0009.jpg")));
}
