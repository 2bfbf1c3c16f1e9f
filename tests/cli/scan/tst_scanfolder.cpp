#include "cli/base/jsonline.h"
#include "cli/commandline/namepattern.h"
#include "cli/scan/scanfolder.h"

#include "tests/support/temp_home.h"

#include <cerrno>
#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using cli::JsonLine;
using cli::KeptScan;
using cli::keptScans;
using cli::NamePattern;
using cli::ScanFolder;
using cli::Workspace;

class ScanFolderTest : public testing::Test
{
protected:
    std::string file(const std::string &name) const { return (m_home.scratch() / name).string(); }

    static void writePage(ScanFolder &folder, const std::string &text)
    {
        std::ofstream(folder.nextPath()) << text;
        ASSERT_EQ(folder.keep().error, 0);
    }

    /// A process that scans so many pages and is killed.
    void scanAndDie(const std::string &document, int pages) const
    {
        const pid_t child = fork();
        if (child == 0) {
            ScanFolder folder(file(document));
            for (int page = 1; page <= pages; ++page)
                writePage(folder, document + std::to_string(page));
            std::ofstream(folder.nextPath()) << "half";
            kill(getpid(), SIGKILL);
        }
        int state = 0;
        waitpid(child, &state, 0);
        ASSERT_TRUE(WIFSIGNALED(state));
    }

    std::size_t entries() const
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_home.scratch()), {}));
    }

    support::TempHome m_home;
};

TEST_F(ScanFolderTest, isHiddenAndGoesWithoutPages)
{
    {
        const ScanFolder folder(file("a.pdf"));
        ASSERT_EQ(folder.error(), 0);
        EXPECT_EQ(entries(), 1U);
        EXPECT_EQ(fs::path(folder.nextPath()).parent_path().filename().string()[0], '.');
    }
    EXPECT_EQ(entries(), 0U);
    EXPECT_EQ(ScanFolder(file("none/a.pdf")).error(), ENOENT);
}

TEST_F(ScanFolderTest, keepsPagesInTheirOrderUntilTheyAreDiscarded)
{
    {
        ScanFolder folder(file("a.pdf"));
        for (int page = 1; page <= 12; ++page)
            writePage(folder, std::to_string(page));
        ASSERT_EQ(folder.pages().size(), 12U);
        EXPECT_EQ(support::readFile(folder.pages()[9]), "10");
        EXPECT_EQ(folder.keep().error, ENOENT) << "nothing was written";
    }
    ASSERT_EQ(keptScans(file("b.pdf")).size(), 1U);
    ScanFolder folder(keptScans(file("b.pdf")).front());
    EXPECT_EQ(support::readFile(folder.pages().back()), "12");
    folder.discard();
    EXPECT_EQ(entries(), 0U);
}

TEST_F(ScanFolderTest, killedScanIsFoundWithItsPages)
{
    scanAndDie("a.pdf", 2);
    // the times of files come from a clock that ticks every few milliseconds only
    for (const auto &entry : fs::directory_iterator(m_home.scratch()))
        fs::last_write_time(entry, fs::file_time_type::clock::now() - std::chrono::seconds(1));
    scanAndDie("b.ofd", 1);
    scanAndDie("none.pdf", 0);
    const std::vector<KeptScan> kept = keptScans(file("any"));
    ASSERT_EQ(kept.size(), 2U);
    EXPECT_EQ(kept[0].document, "a.pdf");
    EXPECT_EQ(kept[0].pages, 2U);
    EXPECT_EQ(kept[1].document, "b.ofd");
    EXPECT_EQ(entries(), 2U) << "the one without a page is gone";
    ScanFolder folder(kept[0]);
    ASSERT_EQ(folder.error(), 0);
    EXPECT_EQ(support::readFile(folder.pages()[1]), "a.pdf2");
    writePage(folder, "next");
    EXPECT_EQ(support::readFile(folder.pages().at(2)), "next");
}

TEST_F(ScanFolderTest, runningScanAndOtherRunsLeaveEachOtherAlone)
{
    ScanFolder folder(file("a.pdf"));
    writePage(folder, "1");
    EXPECT_TRUE(keptScans(file("a.pdf")).empty());
    EXPECT_EQ(ScanFolder(KeptScan{fs::path(folder.nextPath()).parent_path(), "", 1}).error(),
              EWOULDBLOCK);
    scanAndDie("b.pdf", 1);
    {
        const Workspace other(file("c.pdf"));
        ASSERT_EQ(other.error(), 0);
    }
    EXPECT_EQ(keptScans(file("a.pdf")).size(), 1U) << "no other command removes pages";
    EXPECT_EQ(support::readFile(folder.pages()[0]), "1");
}

TEST(NamePatternTest, numbersFillTheirPlace)
{
    const auto pathOf = [](const char *text, int number) {
        const auto pattern = NamePattern::read(text);
        return pattern ? pattern->path(number) : "none";
    };
    EXPECT_EQ(pathOf("page-%03d.jpg", 7), "page-007.jpg");
    EXPECT_EQ(pathOf("/a%d/b%d", 12), "/a%d/b12");
    EXPECT_EQ(pathOf("%2d.png", 123), "123.png");
    EXPECT_EQ(pathOf("100%%-%d.tif", 1), "100%-1.tif");
    for (const char *other : {"page.jpg", "a%d-%d.jpg", "50%.jpg", "%s.jpg", "%010d.jpg", "%",
                              "%0d%", "%00d.jpg", "%-3d", ""})
        EXPECT_EQ(pathOf(other, 1), "none") << other;
}

TEST(NamePatternTest, numbersAreFoundInNames)
{
    const auto pattern = NamePattern::read("x/page-%03d.jpg");
    ASSERT_TRUE(pattern);
    EXPECT_EQ(pattern->numberIn("page-012.jpg"), 12);
    EXPECT_EQ(pattern->numberIn("page-1234.jpg"), 1234);
    for (const char *other : {"page-12.jpg", "page-.jpg", "page-01a.jpg", "page-0012.jpg",
                              "page-99999999999.jpg", "page-001.png", "page-001 (1).jpg", ""})
        EXPECT_EQ(pattern->numberIn(other), std::nullopt) << other;
}

TEST(JsonLineTest, isOneObjectOnOneLine)
{
    JsonLine line;
    line.add("page", 1).add("size", 3'000'000'000.0).add("file", "a \"b\"\n").add("whole", true);
    EXPECT_EQ(line.text(), R"({"page":1,"size":3000000000,"file":"a \"b\"\n","whole":true})");
    EXPECT_EQ(JsonLine().text(), "{}");
}

} // namespace
