#include "library/export/page_prefetcher.h"

#include "tests/library/support/pictures.h"
#include "tests/library/support/temporary_folder.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace korv;

namespace {

class PageSourceTest : public testing::Test
{
protected:
    /// Files whose pictures tell their place by their width.
    void makeFiles(int count)
    {
        for (int i = 0; i < count; ++i) {
            m_files.push_back(m_folder.path() + "/" + std::to_string(i));
            const Image picture = testing_support::plainImage(8 + i, 8, {200, 100, 50});
            testing_support::writeFile(m_files.back(), jpeg::encode(picture, {}).value());
        }
    }

    testing_support::TemporaryFolder m_folder;
    std::vector<std::string> m_files;
};

} // namespace

TEST_F(PageSourceTest, pagesComeInOrder)
{
    makeFiles(40);
    PagePrefetcher source(m_files, {});
    for (int i = 0; i < 40; ++i) {
        const SourcePage *next = source.next();
        ASSERT_NE(next, nullptr);
        const Result<Page> &page = next->content;
        ASSERT_TRUE(page) << page.error().text;
        EXPECT_EQ(next->source, static_cast<std::size_t>(i));
        EXPECT_EQ(page.value().width, 8 + i);
        EXPECT_EQ(jpeg::readInfo(page.value().jpeg).value().width, 8 + i);
    }
    EXPECT_EQ(source.next(), nullptr);
}

TEST_F(PageSourceTest, brokenPageSpoilsNoOther)
{
    makeFiles(10);
    m_files[3] += ".none";
    m_files[9] += ".none";
    PagePrefetcher source(m_files, {});
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(source.next()->content.code(), i == 3 || i == 9 ? -ENOENT : 0) << i;
    EXPECT_EQ(source.next(), nullptr);
}

TEST_F(PageSourceTest, mayEndBeforeAllPagesAreTaken)
{
    makeFiles(20);
    for (int taken = 0; taken < 5; ++taken) {
        PagePrefetcher source(m_files, {});
        for (int i = 0; i < taken; ++i)
            EXPECT_NE(source.next(), nullptr);
    }
}

TEST_F(PageSourceTest, singlePageNeedsNoThread)
{
    makeFiles(1);
    PagePrefetcher source(m_files, {});
    EXPECT_EQ(source.next()->content.value().width, 8);
    EXPECT_EQ(source.next(), nullptr);
}
