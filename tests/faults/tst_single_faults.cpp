#include "tests/faults/desk.h"
#include "tests/faults/shims/fault_shim.h"
#include "tests/library/support/sample_pictures.h"

#include "library/export/image_loader.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

const std::vector<int> kErrors = {ENOSPC, EIO, EDQUOT, EACCES, EMFILE};
const std::vector<int> kFewErrors = {ENOSPC, EACCES}; ///< on unusual file systems, to save time
const std::vector<std::string> kKinds = {"open", "read", "write", "fsync", "rename", "link"};
constexpr int kMaxCalls = 500; ///< far above what an export makes

/// What file systems lack. The first is the ordinary one.
constexpr int kFileSystems[] = {0, NoNamelessFiles, NoNamelessFiles | NoRenameWithoutReplacing,
                                NoNamelessFiles | NoRenameWithoutReplacing | NoLinks};

const CameraLibrary &library()
{
    static const CameraLibrary instance;
    return instance;
}

/// Messages of the library about its own rescue work would fill the test's log.
class QuietErrors
{
public:
    QuietErrors() { testing::internal::CaptureStderr(); }
    ~QuietErrors() { testing::internal::GetCapturedStderr(); }
    QuietErrors(const QuietErrors &) = delete;
    QuietErrors &operator=(const QuietErrors &) = delete;
};

/// Runs `scenario` again and again, each time with the next call of each kind failing, until it
/// makes fewer calls than that.
template <typename Scenario> void sweep(Scenario scenario)
{
    const QuietErrors quiet;
    int faults = 0;
    for (const int missing : kFileSystems) {
        for (const std::string &kind : kKinds) {
            for (const int error : missing == 0 ? kErrors : kFewErrors) {
                bool happened = true;
                for (int nth = 1; happened && nth < kMaxCalls; ++nth) {
                    SCOPED_TRACE(kind + " " + std::to_string(nth) + " fails with "
                                 + std::to_string(error) + ", file system lacks "
                                 + std::to_string(missing));
                    const auto arm = [&] {
                        setMissingFeatures(missing);
                        armFault(kind.c_str(), nth, error);
                    };
                    const auto disarm = [&] {
                        happened = disarmFault();
                        setMissingFeatures(0);
                    };
                    scenario(arm, disarm);
                    faults += happened ? 1 : 0;
                    if (testing::Test::HasFailure())
                        return;
                }
                EXPECT_FALSE(happened) << kind << " never ran out of calls";
            }
        }
    }
    // open, read, write, fsync twice and a name: at least six places on each file system
    const std::size_t sweeps = kErrors.size() + 3 * kFewErrors.size();
    EXPECT_GE(faults, 6 * static_cast<int>(sweeps));
}

/// The promise: after the caller deleted its working files, each photograph lies in exactly one
/// place, whole.
void expectEachOnce(const Desk &desk, int result)
{
    int finished = 0;
    for (int i = 0; i < Desk::kPhotographs; ++i) {
        EXPECT_EQ(desk.countFinished(i) + desk.countRescued(i), 1) << "photograph " << i;
        finished += desk.countFinished(i);
    }
    if (finished < Desk::kPhotographs) {
        EXPECT_LT(result, 0);
    }
}

class SingleFaultTest : public testing::TestWithParam<const char *>
{
protected:
    static std::string output() { return std::string("0001.") + GetParam(); }
    static std::string copy() { return std::string("0001 (1).") + GetParam(); }
};

using DocumentFaultTest = SingleFaultTest;

INSTANTIATE_TEST_SUITE_P(Formats, DocumentFaultTest, testing::Values("pdf", "ofd", "tiff"));

using PictureFaultTest = SingleFaultTest;

INSTANTIATE_TEST_SUITE_P(Formats, PictureFaultTest, testing::Values("png", "bmp"));

int combineAll(const Desk &desk, const std::string &output)
{
    int worst = 0;
    for (int i = 0; i < Desk::kPhotographs; ++i)
        worst = std::min(worst, library().add(desk.workingFile(i).c_str()));
    return std::min(worst, library().combine(desk.path(output).c_str()));
}

} // namespace

TEST_P(DocumentFaultTest, combinedPagesAreInTheDocumentOrRescued)
{
    sweep([](auto arm, auto disarm) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        arm();
        const int result = combineAll(desk, output());
        disarm();
        desk.deleteWorkingFiles();
        expectEachOnce(desk, result);
        EXPECT_THAT(desk.strangers({output()}), testing::IsEmpty());
    });
}

TEST_P(DocumentFaultTest, existingDocumentStaysAsItWas)
{
    sweep([](auto arm, auto disarm) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        const korv::Bytes old(1000, 7);
        pictures::writeBytes(desk.path(output()), old);
        arm();
        const int result = combineAll(desk, output());
        disarm();
        desk.deleteWorkingFiles();
        expectEachOnce(desk, result);
        EXPECT_EQ(pictures::readBytes(desk.path(output())), old);
        EXPECT_THAT(desk.strangers({output(), copy()}), testing::IsEmpty());
    });
}

TEST(JpegFault, convertedPhotographIsInItsFileOrRescued)
{
    sweep([](auto arm, auto disarm) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        arm();
        int worst = 0;
        for (int i = 0; i < Desk::kPhotographs; ++i) {
            const std::string to = desk.path("000" + std::to_string(i + 1) + ".jpg");
            worst = std::min(worst, library().convert(desk.workingFile(i).c_str(), to.c_str()));
        }
        disarm();
        desk.deleteWorkingFiles();
        expectEachOnce(desk, worst);
        EXPECT_THAT(desk.strangers({"0001.jpg", "0002.jpg", "0003.jpg"}), testing::IsEmpty());
    });
}

TEST_P(PictureFaultTest, convertedPhotographIsInItsFileOrRescued)
{
    sweep([](auto arm, auto disarm) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        arm();
        const int result =
            library().convert(desk.workingFile(0).c_str(), desk.path(output()).c_str());
        disarm();
        desk.deleteWorkingFiles();
        const bool finished = fs::exists(desk.path(output()));
        EXPECT_EQ(int{finished} + desk.countRescued(0), 1);
        if (finished) {
            const auto image = korv::loadImage(pictures::readBytes(desk.path(output())));
            ASSERT_TRUE(image);
            EXPECT_EQ(image.value().width(), Desk::kWidth);
        } else {
            EXPECT_LT(result, 0);
        }
        EXPECT_THAT(desk.strangers({output()}), testing::IsEmpty());
    });
}

TEST(PhotographFault, workingFileIsNewOrAsItWasOrRecovered)
{
    sweep([](auto arm, auto disarm) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        korv::Bytes frame = Desk::photograph(0);
        frame.resize(std::size_t{Desk::kWidth} * Desk::kHeight * 3);
        for (const std::string &path : {desk.workingFile(1), desk.path("new.jpg")}) {
            arm();
            const int result =
                library().saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight, 0, path.c_str());
            disarm();
            const korv::Bytes now = fs::exists(path) ? pictures::readBytes(path) : korv::Bytes();
            const korv::Bytes before =
                path == desk.workingFile(1) ? Desk::photograph(1) : korv::Bytes();
            if (result == 0)
                EXPECT_EQ(now, Desk::photograph(0));
            else if (now.empty() && !before.empty())
                EXPECT_EQ(pictures::readBytes(desk.path("recovered-0001.jpg")), before);
            else
                EXPECT_TRUE(now == before || now == Desk::photograph(0));
        }
        const std::vector<std::string> expected = {
            ".korv-test-preview-0001.jpg", ".korv-test-preview-0002.jpg",
            ".korv-test-preview-0003.jpg", "new.jpg", "recovered-0001.jpg"};
        EXPECT_THAT(desk.strangers(expected), testing::IsEmpty());
    });
}

TEST_P(DocumentFaultTest, shortWritesAreContinued)
{
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        armFault("short", nth, 0);
        const int result = combineAll(desk, output());
        happened = disarmFault();
        ASSERT_EQ(result, 0);
        desk.deleteWorkingFiles();
        expectEachOnce(desk, result);
        EXPECT_EQ(desk.countRescued(0), 0);
        ASSERT_LT(nth, kMaxCalls);
    }
}
