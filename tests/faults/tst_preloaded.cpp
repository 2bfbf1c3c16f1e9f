#include "tests/faults/desk.h"
#include "tests/faults/shims/fault_shim.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

/// `folder` takes a copy of the shim: the loader's list has no way to write a path with blanks.
ProgramResult korvcam(const fs::path &folder, const std::string &fault,
                      std::vector<std::string> arguments, int missing = 0)
{
    const fs::path shim = folder / "shim.so";
    fs::copy_file(KORV_FAULT_SHIM, shim);
    // the address sanitizer wants to be first, but works behind the shim too
    const char *options = std::getenv("ASAN_OPTIONS");
    const std::string sanitizer =
        "ASAN_OPTIONS=" + (options ? options + std::string(":") : "") + "verify_asan_link_order=0";
    std::vector<std::string> command = {"env",
                                        sanitizer,
                                        "LD_PRELOAD=" + shim.string(),
                                        "KORV_FAULT=" + fault,
                                        "KORV_FILE_SYSTEM_LACKS=" + std::to_string(missing),
                                        KORV_KORVCAM,
                                        "--library",
                                        KORV_LIBRARY_FILE};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command);
}

} // namespace

TEST(Preloaded, failingProgramLeavesThePagesAndNothingElse)
{
    const support::TempHome home;
    const Desk desk(home.scratch());
    const ProgramResult done = korvcam(home.home(), "fsync:1:28",
                                       {"combine", desk.workingFile(0), desk.workingFile(1),
                                        desk.workingFile(2), "-o", desk.path("0001.pdf")});
    EXPECT_EQ(done.status, 1) << done.errors;
    EXPECT_EQ(done.errors,
              "korvcam: cannot write " + desk.path("0001.pdf") + ": No space left on device\n");
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(pictures::readBytes(desk.workingFile(i)), Desk::photograph(i));
    EXPECT_EQ(std::distance(fs::directory_iterator(desk.folder()), {}), Desk::kPhotographs);
}

TEST(Preloaded, programWithoutAFaultWorks)
{
    const support::TempHome home;
    const Desk desk(home.scratch());
    const ProgramResult done =
        korvcam(home.home(), "none:1:28", {"convert", desk.workingFile(0), desk.path("0001.jpg")});
    EXPECT_EQ(done.status, 0) << done.errors;
    EXPECT_EQ(pictures::readBytes(desk.path("0001.jpg")), Desk::photograph(0));
}

TEST(Preloaded, kernelWithoutLinksAndNamelessFilesIsEnough)
{
    constexpr int kBareKernel = NoNamelessFiles | NoRenameWithoutReplacing | NoLinks | NoLocks;
    const support::TempHome home;
    const Desk desk(home.scratch());
    pictures::writeBytes(desk.path("0001.pdf"), korv::Bytes(1));
    const ProgramResult done = korvcam(home.home(), "quiet:0:0",
                                       {"combine", desk.workingFile(0), desk.workingFile(1),
                                        desk.workingFile(2), "-o", desk.path("0001.pdf")},
                                       kBareKernel);
    EXPECT_EQ(done.status, 0) << done.errors;
    desk.deleteWorkingFiles();
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(desk.countFinished(i), 1);
    EXPECT_THAT(desk.strangers({"0001.pdf", "0001 (1).pdf"}), testing::IsEmpty());
}

TEST(Preloaded, fullDiskOfSuchAKernelLeavesTheSourcesAlone)
{
    constexpr int kBareKernel = NoNamelessFiles | NoRenameWithoutReplacing | NoLinks | NoLocks;
    const support::TempHome home;
    const Desk desk(home.scratch());
    const ProgramResult done = korvcam(home.home(), "full:1:28",
                                       {"combine", desk.workingFile(0), desk.workingFile(1),
                                        desk.workingFile(2), "-o", desk.path("0001.pdf")},
                                       kBareKernel);
    EXPECT_EQ(done.status, 1) << done.errors;
    for (int i = 0; i < Desk::kPhotographs; ++i)
        EXPECT_EQ(pictures::readBytes(desk.workingFile(i)), Desk::photograph(i));
    EXPECT_EQ(std::distance(fs::directory_iterator(desk.folder()), {}), Desk::kPhotographs);
}
