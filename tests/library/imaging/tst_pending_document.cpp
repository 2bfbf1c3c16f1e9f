#include "library/output/pending_document.h"

#include "tests/library/imaging/pictures.h"
#include "tests/library/imaging/program.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace korv;
namespace fs = std::filesystem;

namespace {

class PendingDocumentTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    void addPages(int count)
    {
        for (int i = 0; i < count; ++i) {
            const std::string file = path("page" + std::to_string(i));
            pictures::writeBytes(file, pictures::jpegOf(pictures::page(100 + i, 80)));
            ASSERT_TRUE(m_document.add(file));
        }
    }
    int entries() const
    {
        return static_cast<int>(std::distance(fs::directory_iterator(m_home.scratch()), {}));
    }

    support::TempHome m_home;
    PendingDocument m_document;
};

} // namespace

TEST_F(PendingDocumentTest, pagesEnterInOrder)
{
    addPages(12);
    ASSERT_TRUE(m_document.combine(path("a.pdf"), 95));
    EXPECT_EQ(runProgram({"qpdf", "--check", path("a.pdf")}).status, 0);
    const std::string list = runProgram({"pdfimages", "-list", path("a.pdf")}).output;
    for (int i = 0; i < 12; ++i)
        EXPECT_THAT(list,
                    testing::ContainsRegex(std::to_string(i + 1) + " +" + std::to_string(i)
                                           + " +image +" + std::to_string(100 + i)));
    EXPECT_EQ(m_document.pageCount(), 0U);
}

TEST_F(PendingDocumentTest, everyDocumentFormatHoldsAllPages)
{
    addPages(3);
    ASSERT_TRUE(m_document.combine(path("a.tiff"), 95));
    const std::string text = runProgram({"tiffinfo", path("a.tiff")}).output;
    EXPECT_THAT(text, testing::HasSubstr("Page Number: 2-3"));
    addPages(3);
    ASSERT_TRUE(m_document.combine(path("a.ofd"), 95));
    EXPECT_THAT(runProgram({"zipinfo", "-1", path("a.ofd")}).output,
                testing::HasSubstr("image_2.jpg"));
}

TEST_F(PendingDocumentTest, emptyDocumentIsNotWritten)
{
    EXPECT_EQ(m_document.combine(path("a.pdf"), 95).code(), -ENODATA);
    EXPECT_EQ(entries(), 0);
}

TEST_F(PendingDocumentTest, combiningEmptiesTheDocumentWhateverTheResult)
{
    for (const std::string name : {"a.jpg", "a", "a.xyz"}) {
        addPages(1);
        EXPECT_EQ(m_document.combine(path(name), 95).code(), -EINVAL) << name;
        EXPECT_EQ(m_document.pageCount(), 0U);
    }
    addPages(1);
    EXPECT_EQ(m_document.combine(path("none/a.pdf"), 95).code(), -ENOENT);
    EXPECT_EQ(m_document.combine(path("a.pdf"), 95).code(), -ENODATA);
    EXPECT_EQ(entries(), 1);
}

TEST_F(PendingDocumentTest, unreadableSourcesAreNotAdded)
{
    EXPECT_EQ(m_document.add(path("none")).code(), -ENOENT);
    EXPECT_EQ(m_document.add(m_home.scratch().string()).code(), -EISDIR);
    pictures::writeBytes(path("text"), Bytes(100, 'x'));
    EXPECT_EQ(m_document.add(path("text")).code(), -EBADMSG);
    const Bytes jpeg = pictures::jpegOf(pictures::page(100, 80));
    pictures::writeBytes(path("half"), ByteView(jpeg).first(jpeg.size() / 2));
    EXPECT_EQ(m_document.add(path("half")).code(), -EBADMSG);
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(m_document.add(path("fifo")).code(), -EINVAL);
    EXPECT_EQ(m_document.pageCount(), 0U);
}

TEST_F(PendingDocumentTest, pageThatVanishedFailsTheDocumentAndLeavesNothing)
{
    for (const std::string name : {"a.pdf", "a.ofd", "a.tif"}) {
        addPages(3);
        fs::remove(path("page1"));
        EXPECT_EQ(m_document.combine(path(name), 95).code(), -ENOENT) << name;
        EXPECT_EQ(entries(), 2);
    }
}
