#include "library/device/simulated/page_cycler.h"

#include "tests/library/support/pictures.h"
#include "tests/library/support/wait.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <mutex>

using korv::PageCycler;
using testing_support::becomesTrue;
using testing_support::Colour;

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 64;

/// Pages of one colour each; those without a colour cannot be read.
class ColouredPages : public korv::PageSource
{
public:
    void set(std::map<std::string, Colour> colours, std::vector<std::string> pages)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_colours = std::move(colours);
        m_pages = std::move(pages);
    }
    std::vector<std::string> pages() const override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_pages;
    }
    korv::Result<korv::Image> render(const std::string &page, int width, int height) const override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_renderings[page];
        const auto colour = m_colours.find(page);
        if (colour == m_colours.end())
            return korv::Error{-EBADMSG, "unreadable"};
        return testing_support::plainImage(width, height, colour->second);
    }
    int renderings(const std::string &page) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_renderings[page];
    }

private:
    mutable std::mutex m_mutex;
    std::map<std::string, Colour> m_colours;
    std::vector<std::string> m_pages;
    mutable std::map<std::string, int> m_renderings;
};

constexpr Colour kRedPage{200, 20, 20};
constexpr Colour kGreenPage{20, 160, 20};
constexpr PageCycler::Timing kQuick{std::chrono::milliseconds(20), std::chrono::milliseconds(5)};
constexpr PageCycler::Timing kNeverTurns{std::chrono::hours(1), std::chrono::milliseconds(5)};

bool shows(PageCycler &turner, const Colour &colour)
{
    return becomesTrue([&] {
        const auto page = turner.waitForPage();
        return testing_support::isNear(testing_support::colourAt(page->strip, 5, 5), colour, 2);
    });
}

/// The desk is wood: red over green over blue, neither of the pages.
bool showsDesk(PageCycler &turner)
{
    return becomesTrue([&] {
        const Colour colour = testing_support::colourAt(turner.waitForPage()->strip, 5, 5);
        return colour[0] > colour[1] && colour[1] > colour[2] && colour[0] < 150;
    });
}

} // namespace

TEST(pageTurner, turnsFromPageToPageAndBackToTheFirst)
{
    ColouredPages pages;
    pages.set({{"1", kRedPage}, {"2", kGreenPage}}, {"1", "2"});
    PageCycler turner(pages, kWidth, kHeight, kQuick);
    EXPECT_TRUE(shows(turner, kRedPage));
    EXPECT_TRUE(shows(turner, kGreenPage));
    EXPECT_TRUE(shows(turner, kRedPage));
    EXPECT_TRUE(shows(turner, kGreenPage));
    EXPECT_EQ(pages.renderings("1"), 1) << "a short pile is prepared once";
}

TEST(pageTurner, noPageIsAnEmptyDesk)
{
    ColouredPages pages;
    PageCycler turner(pages, kWidth, kHeight, kQuick);
    EXPECT_TRUE(showsDesk(turner));
}

TEST(pageTurner, unreadablePagesAreSkippedAndTriedOnce)
{
    ColouredPages pages;
    pages.set({{"2", kGreenPage}}, {"1", "2", "3"});
    PageCycler turner(pages, kWidth, kHeight, kQuick);
    EXPECT_TRUE(shows(turner, kGreenPage));
    EXPECT_TRUE(becomesTrue([&] { return pages.renderings("3") == 1; }));
    EXPECT_TRUE(shows(turner, kGreenPage));
    EXPECT_EQ(pages.renderings("1"), 1);
}

TEST(pageTurner, onlyUnreadablePagesAreAnEmptyDesk)
{
    ColouredPages pages;
    pages.set({}, {"1"});
    PageCycler turner(pages, kWidth, kHeight, kQuick);
    EXPECT_TRUE(showsDesk(turner));
}

TEST(pageTurner, pageTakenAwayGivesWayAtOnceAndAPageLaidDownShows)
{
    ColouredPages pages;
    pages.set({{"1", kRedPage}}, {"1"});
    PageCycler turner(pages, kWidth, kHeight, kNeverTurns);
    EXPECT_TRUE(shows(turner, kRedPage));
    pages.set({}, {});
    EXPECT_TRUE(showsDesk(turner));
    pages.set({{"2", kGreenPage}}, {"2"});
    EXPECT_TRUE(shows(turner, kGreenPage));
}

TEST(pageTurner, stopWakesWhoeverWaits)
{
    ColouredPages pages;
    PageCycler turner(pages, kWidth, kHeight, kNeverTurns);
    turner.stop();
    EXPECT_EQ(turner.waitForPage(), nullptr);
}
