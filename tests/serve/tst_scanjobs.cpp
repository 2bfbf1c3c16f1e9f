#include "cli/serve/escl/scanjobs.h"

#include <gmock/gmock.h>

namespace {

using cli::ScanJobs;
using cli::ScannedPage;
using Answer = ScanJobs::Answer;
using State = ScanJobs::State;

class ScanJobsTest : public testing::Test
{
protected:
    std::string create()
    {
        const std::optional<std::string> id = m_jobs.create({});
        EXPECT_TRUE(id);
        return id.value_or("");
    }

    /// Lets the camera work on the job that waits.
    void scan(bool isBusy = false)
    {
        const std::optional<ScanJobs::Work> work = m_jobs.takeWork();
        ASSERT_TRUE(work);
        if (isBusy)
            m_jobs.finish(work->id, {nullptr, true, "busy"});
        else
            m_jobs.finish(work->id,
                          {std::make_shared<ScannedPage>(ScannedPage{"page", 3, 4}), false, {}});
    }

    /// A job of the feeder, whose camera is at work.
    std::string feed()
    {
        cli::ScanSettings settings;
        settings.source = cli::ScanInput::Feeder;
        const std::string id = m_jobs.create(settings).value_or("");
        EXPECT_TRUE(m_jobs.takeWork());
        return id;
    }

    void add(const std::string &id, const std::string &bytes)
    {
        m_jobs.add(id, std::make_shared<ScannedPage>(ScannedPage{bytes, 3, 4}));
    }

    State state() const { return m_jobs.list().front().state; }

    ScanJobs m_jobs;
};

TEST_F(ScanJobsTest, aPageIsHandedOverOnce)
{
    const std::string id = create();
    EXPECT_EQ(m_jobs.next(id).answer, Answer::NotYet);
    scan();
    const ScanJobs::Next page = m_jobs.next(id);
    ASSERT_EQ(page.answer, Answer::Page);
    EXPECT_EQ(page.page->bytes, "page");
    EXPECT_EQ(m_jobs.next(id).answer, Answer::NoMore);
    EXPECT_EQ(m_jobs.peek(id).page->width, 3);
}

TEST_F(ScanJobsTest, oneJobIsActiveAtATime)
{
    const std::string id = create();
    EXPECT_FALSE(m_jobs.create({}));
    scan();
    EXPECT_FALSE(m_jobs.create({}));
    m_jobs.next(id);
    EXPECT_TRUE(m_jobs.create({}));
}

TEST_F(ScanJobsTest, aBusyCameraIsReportedAndTriedAgain)
{
    const std::string id = create();
    scan(true);
    EXPECT_FALSE(m_jobs.takeWork()) << "nobody has asked again";
    EXPECT_EQ(m_jobs.next(id).answer, Answer::Busy);
    EXPECT_EQ(m_jobs.next(id).answer, Answer::NotYet);
    scan();
    EXPECT_EQ(m_jobs.next(id).answer, Answer::Page);
}

TEST_F(ScanJobsTest, aFailureEndsTheJob)
{
    const std::string id = create();
    m_jobs.finish(m_jobs.takeWork()->id, {nullptr, false, "no camera"});
    const ScanJobs::Next failed = m_jobs.next(id);
    EXPECT_EQ(failed.answer, Answer::Failed);
    EXPECT_EQ(failed.reason, "no camera");
    EXPECT_FALSE(m_jobs.isActive());
}

TEST_F(ScanJobsTest, whatIsCancelledWhileItIsScannedStaysCancelled)
{
    const std::string id = create();
    const std::optional<ScanJobs::Work> work = m_jobs.takeWork();
    EXPECT_TRUE(m_jobs.remove(id));
    m_jobs.finish(work->id, {std::make_shared<ScannedPage>(), false, {}});
    EXPECT_EQ(state(), State::Canceled);
    EXPECT_EQ(m_jobs.next(id).answer, Answer::Canceled);
    EXPECT_TRUE(m_jobs.remove(id));
    EXPECT_EQ(m_jobs.next(id).answer, Answer::Unknown);
    EXPECT_FALSE(m_jobs.remove(id));
}

TEST_F(ScanJobsTest, aJobThatNobodyAsksForMakesRoom)
{
    create();
    scan();
    m_jobs.expire(ScanJobs::Clock::now() + std::chrono::seconds(59));
    EXPECT_EQ(state(), State::Ready);
    m_jobs.expire(ScanJobs::Clock::now() + std::chrono::seconds(61));
    EXPECT_EQ(state(), State::Aborted);
    EXPECT_TRUE(m_jobs.create({}));
}

TEST_F(ScanJobsTest, finishedJobsAreForgottenInTime)
{
    for (int count = 0; count < 30; ++count) {
        const std::string id = create();
        scan();
        m_jobs.next(id);
    }
    EXPECT_EQ(m_jobs.list().size(), 10U);
}

TEST_F(ScanJobsTest, aFeederHandsOverItsPagesInTheirOrderUntilItEnds)
{
    const std::string id = feed();
    EXPECT_EQ(m_jobs.next(id).answer, Answer::NotYet);
    add(id, "one");
    add(id, "two");
    const ScanJobs::Next first = m_jobs.next(id);
    EXPECT_EQ(first.page->bytes, "one");
    EXPECT_EQ(first.number, 1);
    m_jobs.finish(id, {});
    EXPECT_EQ(state(), State::Ready) << "a page waits";
    const ScanJobs::Next second = m_jobs.next(id);
    EXPECT_EQ(second.page->bytes, "two");
    EXPECT_EQ(second.number, 2);
    EXPECT_EQ(m_jobs.next(id).answer, Answer::NoMore);
    EXPECT_EQ(m_jobs.list().front().pagesDelivered, 2);
    EXPECT_EQ(state(), State::Completed);
}

TEST_F(ScanJobsTest, aFeederWithoutAPageEndsWell)
{
    const std::string id = feed();
    m_jobs.finish(id, {});
    EXPECT_EQ(m_jobs.next(id).answer, Answer::NoMore);
    EXPECT_EQ(state(), State::Completed);
}

TEST_F(ScanJobsTest, whatEndsAFeederBadlyIsSaidAfterItsPages)
{
    const std::string id = feed();
    add(id, "one");
    m_jobs.finish(id, {nullptr, false, "the camera is gone"});
    EXPECT_EQ(m_jobs.next(id).page->bytes, "one");
    const ScanJobs::Next failed = m_jobs.next(id);
    EXPECT_EQ(failed.answer, Answer::Failed);
    EXPECT_EQ(failed.reason, "the camera is gone");
}

TEST_F(ScanJobsTest, aBusyCameraIsTriedAgainByAFeederToo)
{
    const std::string id = feed();
    m_jobs.finish(id, {nullptr, true, "busy"});
    EXPECT_EQ(m_jobs.next(id).answer, Answer::Busy);
    EXPECT_EQ(m_jobs.next(id).answer, Answer::NotYet);
    EXPECT_TRUE(m_jobs.takeWork());
}

TEST_F(ScanJobsTest, aFeederRestsWhileItsClientIsSlowAndEndsWhenItIsCancelled)
{
    using Feeding = ScanJobs::Feeding;
    const std::string id = feed();
    int pages = 0;
    while (m_jobs.feeding(id) == Feeding::Wanted && pages < 100) {
        add(id, "page");
        ++pages;
    }
    EXPECT_EQ(m_jobs.feeding(id), Feeding::Later);
    EXPECT_LT(pages, 10);
    m_jobs.next(id);
    EXPECT_EQ(m_jobs.feeding(id), Feeding::Wanted);
    m_jobs.remove(id);
    EXPECT_EQ(m_jobs.feeding(id), Feeding::Over);
    add(id, "late");
    EXPECT_EQ(m_jobs.next(id).answer, Answer::Canceled);
}

TEST_F(ScanJobsTest, aFeederWhosePagesNobodyFetchesIsGivenUp)
{
    const std::string id = feed();
    m_jobs.expire(ScanJobs::Clock::now() + std::chrono::seconds(61));
    EXPECT_EQ(state(), State::Scanning) << "the client may wait for the next page";
    add(id, "page");
    m_jobs.expire(ScanJobs::Clock::now() + std::chrono::seconds(61));
    EXPECT_EQ(state(), State::Aborted);
    EXPECT_EQ(m_jobs.feeding(id), ScanJobs::Feeding::Over);
}

} // namespace
