#include "tests/faults/desk.h"
#include "tests/faults/shims/memory_shim.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/sample_pictures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const CameraLibrary &library()
{
    static const CameraLibrary instance;
    return instance;
}

constexpr long kMaxAllocations = 20'000; ///< far above what one piece of work makes

/// Prepares a piece of work of the library while there is memory. The work takes none of its own, and
/// answers what the library answers.
using Work = std::function<std::function<int()>(const Desk &desk)>;

/// How a process ended that did the work while memory ran out at the `nth` allocation.
struct Outcome
{
    int status = 0; ///< as waitpid(2) gives it
    int result = 0;
    bool exhausted = false;
};

Outcome outcomeOf(const Work &work, const Desk &desk, long nth, Shortage shortage)
{
    int pipe[2] = {-1, -1};
    if (::pipe(pipe) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        const std::function<int()> prepared = work(desk);
        Outcome mine;
        exhaustMemoryFrom(nth, shortage);
        mine.result = prepared();
        mine.exhausted = restoreMemory();
        ::_exit(::write(pipe[1], &mine, sizeof mine) == sizeof mine ? 0 : 1);
    }
    ::close(pipe[1]);
    Outcome outcome;
    const bool told = ::read(pipe[0], &outcome, sizeof outcome) == sizeof outcome;
    ::close(pipe[0]);
    ::waitpid(child, &outcome.status, 0);
    EXPECT_TRUE(told);
    return outcome;
}

std::string nameOf(const std::string &path)
{
    return fs::path(path).filename();
}

/// Does the work again and again, each time with memory running out one allocation later, until
/// there is enough of it.
void sweep(const Work &work, const std::string &output, Shortage shortage, bool isWhole)
{
    library();
    bool exhausted = true;
    long nth = 1;
    for (; exhausted && nth < kMaxAllocations; ++nth) {
        SCOPED_TRACE((shortage == Shortage::Lasting ? "from allocation " : "at allocation ")
                     + std::to_string(nth));
        const support::TempHome home;
        const Desk desk(home.scratch());
        testing::internal::CaptureStderr();
        const Outcome outcome = outcomeOf(work, desk, nth, shortage);
        const std::string messages = testing::internal::GetCapturedStderr();
        exhausted = outcome.exhausted;
        ASSERT_EQ(outcome.status, 0) << messages;
        ASSERT_TRUE(outcome.result == 0 || (exhausted && outcome.result == -ENOMEM))
            << outcome.result << " " << messages;
        if (isWhole) {
            ASSERT_EQ(fs::exists(desk.path(output)), outcome.result == 0) << messages;
        }
        ASSERT_THAT(desk.strangers({output, nameOf(desk.workingFile(0)),
                                    nameOf(desk.workingFile(1)), nameOf(desk.workingFile(2)),
                                    "source.tif", "source.png", "source.bmp", "source.jpg"}),
                    testing::IsEmpty());
    }
    EXPECT_FALSE(exhausted);
    EXPECT_GT(nth, 1);
    testing::Test::RecordProperty("allocations", static_cast<int>(nth));
}

/// Of work that does everything or nothing, unless `isWhole` says otherwise.
void sweep(const Work &work, const std::string &output, bool isWhole = true)
{
    sweep(work, output, Shortage::Lasting, isWhole);
    sweep(work, output, Shortage::Momentary, isWhole);
    sweep(work, output, Shortage::OfLargeBlocks, isWhole);
}

/// Where libtiff works, which crashes by itself when it has no memory for the small things, and where
/// OpenCV does, which takes memory ten thousand times.
void sweepOverLargeBlocks(const Work &work, const std::string &output, bool isWhole = true)
{
    sweep(work, output, Shortage::OfLargeBlocks, isWhole);
}

class MemoryShortage : public testing::TestWithParam<const char *>
{
protected:
    static std::string output() { return std::string("0001.") + GetParam(); }
};

using MemoryShortageDocument = MemoryShortage;

INSTANTIATE_TEST_SUITE_P(Formats, MemoryShortage,
                         testing::Values("jpg", "png", "bmp", "pdf", "ofd"));
INSTANTIATE_TEST_SUITE_P(Formats, MemoryShortageDocument, testing::Values("pdf", "ofd"));

class MemoryShortageSource : public testing::TestWithParam<const char *>
{
protected:
    static std::string source() { return std::string("source.") + GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Formats, MemoryShortageSource, testing::Values("png", "bmp"));

struct Options
{
    int crop;
    int colour;
    int rotation;
};

/// Saves a photograph with the options.
std::function<int()> savingWith(const Options &options, const Desk &desk)
{
    library().setCrop(options.crop);
    library().setColour(options.colour);
    library().setRotation(options.rotation);
    korv::Bytes frame = Desk::photograph(0);
    frame.resize(std::size_t{Desk::kWidth} * Desk::kHeight * 3);
    // once, as Init would: OpenCV's threading library crashes otherwise
    library().saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight, 0,
                            desk.path("source.jpg").c_str());
    return [frame, to = desk.path("new.jpg")]() mutable {
        return library().saveVideoData(frame.data(), Desk::kWidth, Desk::kHeight, 0, to.c_str());
    };
}

class MemoryShortagePhotograph : public testing::TestWithParam<Options>
{
};
using MemoryShortageCrop = MemoryShortagePhotograph;

INSTANTIATE_TEST_SUITE_P(Options, MemoryShortagePhotograph,
                         testing::Values(Options{-1, 0, 0}, Options{-1, 0, 2}, Options{-1, 1, 0}));
// OpenCV's work
INSTANTIATE_TEST_SUITE_P(Options, MemoryShortageCrop,
                         testing::Values(Options{0, 0, 0}, Options{-1, 2, 0}));

} // namespace

TEST_P(MemoryShortage, convertingAnswersSo)
{
    sweep(
        [](const Desk &desk) {
            return [from = desk.workingFile(0), to = desk.path(output())] {
                return library().convert(from.c_str(), to.c_str());
            };
        },
        output());
}

TEST_P(MemoryShortageDocument, combiningAnswersSo)
{
    sweep(
        [](const Desk &desk) {
            return
                [pages = std::array{desk.workingFile(0), desk.workingFile(1), desk.workingFile(2)},
                 to = desk.path(output())] {
                    int added = 0;
                    for (const std::string &page : pages)
                        added = std::min(added, library().add(page.c_str()));
                    const int combined = library().combine(to.c_str());
                    return added != 0 ? added : combined; // without pages there is no data
                };
        },
        output(), false); // a page that could not be had does not spoil the others
}

TEST_P(MemoryShortageSource, readingAnswersSo)
{
    sweep(
        [](const Desk &desk) {
            const std::string from = desk.path(source());
            library().convert(desk.workingFile(0).c_str(), from.c_str());
            return [from, to = desk.path("0001.jpg")] {
                return library().convert(from.c_str(), to.c_str());
            };
        },
        "0001.jpg");
}

TEST(MemoryShortageSideways, turningAnswersSo)
{
    sweep(
        [](const Desk &desk) {
            const std::string from = desk.path("source.jpg");
            pictures::writeBytes(
                from, testing_support::sidewaysJpegOf(testing_support::wavyImage(200, 150)));
            // once, as Init would: OpenCV's threading library crashes otherwise
            library().convert(from.c_str(), desk.path("source.png").c_str());
            return [from, to = desk.path("0001.bmp")] {
                return library().convert(from.c_str(), to.c_str());
            };
        },
        "0001.bmp");
}

TEST_P(MemoryShortagePhotograph, savingAnswersSo)
{
    sweep([](const Desk &desk) { return savingWith(GetParam(), desk); }, "new.jpg");
}

TEST_P(MemoryShortageCrop, savingAnswersSo)
{
    sweepOverLargeBlocks([](const Desk &desk) { return savingWith(GetParam(), desk); }, "new.jpg");
}

TEST(MemoryShortageTiff, writingAnswersSo)
{
    sweepOverLargeBlocks(
        [](const Desk &desk) {
            return [from = desk.workingFile(0), to = desk.path("0001.tiff")] {
                return library().convert(from.c_str(), to.c_str());
            };
        },
        "0001.tiff");
}

TEST(MemoryShortageTiff, readingAnswersSo)
{
    sweepOverLargeBlocks(
        [](const Desk &desk) {
            const std::string png = desk.path("source.png");
            const std::string from = desk.path("source.tif");
            library().convert(desk.workingFile(0).c_str(), png.c_str());
            library().convert(png.c_str(), from.c_str()); // not as a JPEG inside
            return [from, to = desk.path("0001.png")] {
                return library().convert(from.c_str(), to.c_str());
            };
        },
        "0001.png");
}
