#include "cli/scan/focusexaminer.h"

#include "tests/library/support/pictures.h"
#include "tests/library/support/typed_page.h"

#include <atomic>
#include <future>
#include <gmock/gmock.h>
#include <stdexcept>
#include <thread>

namespace {

using cli::FocusExaminer;
using cli::Wake;
using cli::Wakeup;
using testing::ElementsAre;
using testing::IsEmpty;

using Picture = FocusExaminer::Picture;

constexpr std::chrono::seconds kPatience{20};

std::vector<int> pagesOf(const std::vector<FocusExaminer::Finding> &findings)
{
    std::vector<int> pages;
    for (const FocusExaminer::Finding &finding : findings)
        pages.push_back(finding.page);
    return pages;
}

/// A picture stands for its verdict: one that holds a 1 is blurred.
bool isMarked(const Picture &picture)
{
    return picture.at(0) == 1;
}

TEST(FocusExaminer, namesBlurredPagesInTheirOrder)
{
    Wakeup wakeup;
    FocusExaminer examiner(wakeup, isMarked);
    for (int page = 1; page <= 30; ++page)
        examiner.examine(page, Picture{static_cast<unsigned char>(page % 10 == 0 ? 1 : 0)});
    examiner.finish();
    EXPECT_THAT(pagesOf(examiner.takeFindings()), ElementsAre(10, 20, 30));
    EXPECT_THAT(examiner.takeFindings(), IsEmpty()) << "each is said once";
}

TEST(FocusExaminer, nobodyWaitsForAnExamination)
{
    std::promise<void> allowed;
    Wakeup wakeup;
    FocusExaminer examiner(wakeup, [may = allowed.get_future().share()](const Picture &) {
        may.wait();
        return true;
    });
    examiner.examine(1, Picture{0});
    examiner.examine(2, Picture{0});
    EXPECT_THAT(examiner.takeFindings(), IsEmpty());
    allowed.set_value();
    EXPECT_EQ(wakeup.wait(Wakeup::Clock::now() + kPatience), Wake::Notified);
    examiner.finish();
    EXPECT_THAT(pagesOf(examiner.takeFindings()), testing::Contains(2));
}

TEST(FocusExaminer, pagesThatWaitAreGivenUpAtTheEnd)
{
    std::atomic<int> judged{0};
    std::promise<void> begun;
    std::promise<void> allowed;
    {
        Wakeup wakeup;
        FocusExaminer examiner(wakeup, [&, may = allowed.get_future().share()](const Picture &) {
            if (judged++ == 0)
                begun.set_value();
            may.wait();
            return true;
        });
        for (int page = 1; page <= 5; ++page)
            examiner.examine(page, Picture{0});
        begun.get_future().wait();
        std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            allowed.set_value();
        }).detach();
    }
    EXPECT_EQ(judged, 1);
}

TEST(FocusExaminer, failureIsSaidAndTheNextPageExamined)
{
    Wakeup wakeup;
    FocusExaminer examiner(wakeup, [](const Picture &picture) {
        if (picture.empty())
            throw std::runtime_error("no memory for that");
        return true;
    });
    examiner.examine(1, {});
    examiner.examine(2, Picture{0});
    examiner.finish();
    const std::vector<FocusExaminer::Finding> findings = examiner.takeFindings();
    EXPECT_THAT(pagesOf(findings), ElementsAre(1, 2));
    EXPECT_EQ(findings.at(0).failure, "no memory for that");
    EXPECT_EQ(findings.at(1).failure, "");
}

TEST(FocusExaminer, judgesAsTheLibraryDoes)
{
    const korv::Image page = testing_support::typed(28);
    EXPECT_FALSE(FocusExaminer::isOutOfFocus(testing_support::jpegOf(page)));
    EXPECT_TRUE(
        FocusExaminer::isOutOfFocus(testing_support::jpegOf(testing_support::blurred(page, 8))));
    EXPECT_FALSE(FocusExaminer::isOutOfFocus({'n', 'o', 'n', 'e'}));
}

} // namespace
