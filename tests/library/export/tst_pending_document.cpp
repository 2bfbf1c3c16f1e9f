#include "library/export/pending_document.h"

#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
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
    /// A file as the application's working files are called.
    std::string working(int index) const
    {
        return path(".t-preview-000" + std::to_string(index) + ".jpg");
    }
    void addPages(int count)
    {
        for (int i = 0; i < count; ++i) {
            const std::string file = working(i);
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
}

TEST_F(PendingDocumentTest, wrongExtensionMakesAndKeepsNothing)
{
    addPages(2);
    pictures::writeBytes(path("broken"), Bytes(100, 'x'));
    EXPECT_FALSE(m_document.add(path("broken")));
    const auto before = entries();
    EXPECT_EQ(m_document.combine(path("a.jpg"), 95).code(), -EINVAL);
    EXPECT_EQ(entries(), before);
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

TEST_F(PendingDocumentTest, pageThatVanishedIsReportedAndTheOthersAreWritten)
{
    for (const std::string name : {"a.pdf", "a.ofd", "a.tif"}) {
        addPages(3);
        fs::remove(working(1));
        EXPECT_EQ(m_document.combine(path(name), 95).code(), -ENOENT) << name;
        EXPECT_TRUE(fs::exists(path(name))) << name;
    }
    EXPECT_EQ(entries(), 2 + 3);
    EXPECT_THAT(runProgram({"pdfinfo", path("a.pdf")}).output,
                testing::ContainsRegex("Pages: +2\n"));
}

TEST_F(PendingDocumentTest, pageThatBrokeSinceIsKeptAndTheOthersAreWritten)
{
    for (const std::string name : {"a.pdf", "b.ofd", "c.tif"}) {
        addPages(3);
        const Bytes jpeg = pictures::readBytes(working(1));
        const ByteView half = ByteView(jpeg).first(jpeg.size() / 2);
        pictures::writeBytes(working(1), half);
        EXPECT_EQ(m_document.combine(path(name), 95).code(), -EBADMSG) << name;
        EXPECT_TRUE(fs::exists(path(name))) << name;
        const std::string kept = path(name.substr(0, 1) + "-rescued-0001.jpg");
        EXPECT_EQ(pictures::readBytes(kept), Bytes(half.begin(), half.end()));
        fs::remove(working(1)); // or the next write would change the kept file's content
    }
    EXPECT_EQ(entries(), 2 + 3 + 3);
    const std::string directories = runProgram({"tiffinfo", path("c.tif")}).output;
    EXPECT_THAT(directories, testing::HasSubstr("Page Number: 0-2"));
    EXPECT_THAT(directories, testing::HasSubstr("Page Number: 1-2"));
}

TEST_F(PendingDocumentTest, refusedSourceIsKeptWithTheNextCombine)
{
    addPages(2);
    pictures::writeBytes(working(7), Bytes(100, 'x'));
    EXPECT_EQ(m_document.add(working(7)).code(), -EBADMSG);
    EXPECT_TRUE(m_document.combine(path("a.pdf"), 95));
    EXPECT_EQ(pictures::readBytes(path("a-rescued-0001.jpg")), Bytes(100, 'x'));
    EXPECT_EQ(entries(), 3 + 2);
    EXPECT_EQ(m_document.add(working(7)).code(), -EBADMSG);
    EXPECT_EQ(m_document.combine(path("b.pdf"), 95).code(), -ENODATA);
    EXPECT_TRUE(fs::exists(path("b-rescued-0001.jpg")));
    EXPECT_FALSE(fs::exists(path("b.pdf")));
}

TEST_F(PendingDocumentTest, everyPageIsKeptWhenTheDocumentCannotBeWritten)
{
    addPages(3);
    fs::create_directory(path("other"));
    pictures::writeBytes(path("other/a-rescued-0002.jpg"), Bytes(1));
    EXPECT_EQ(m_document.combine(path("other/none/a.pdf"), 95).code(), -ENOENT);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(pictures::readBytes(path("a-rescued-000" + std::to_string(i + 1) + ".jpg")),
                  pictures::readBytes(working(i)));
    }
}

TEST_F(PendingDocumentTest, existingDocumentIsNeverTouched)
{
    for (const std::string extension : {"pdf", "ofd", "tiff"}) {
        addPages(2);
        pictures::writeBytes(path("0001." + extension), Bytes(10, 1));
        pictures::writeBytes(path("0001 (1)." + extension), Bytes(10, 2));
        EXPECT_TRUE(m_document.combine(path("0001." + extension), 95));
        EXPECT_EQ(pictures::readBytes(path("0001." + extension)), Bytes(10, 1));
        EXPECT_EQ(pictures::readBytes(path("0001 (1)." + extension)), Bytes(10, 2));
        EXPECT_GT(fs::file_size(path("0001 (2)." + extension)), 100U);
    }
}

TEST_F(PendingDocumentTest, progressCountsThePagesOfATiff)
{
    addPages(3);
    ASSERT_TRUE(m_document.combine(path("three.tiff"), 95));
    addPages(2);
    ASSERT_TRUE(m_document.add(path("three.tiff")));
    DocumentSettings settings;
    settings.progressFile = path("progress");
    pictures::writeBytes(settings.progressFile, {});
    ASSERT_TRUE(m_document.combine(path("a.pdf"), 95, settings));
    EXPECT_EQ(support::readFile(settings.progressFile), "5 5\n");
}

TEST_F(PendingDocumentTest, progressThatCannotBeWrittenDoesNoHarm)
{
    DocumentSettings settings;
    settings.progressFile = path("none");
    addPages(2);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(m_document.combine(path("a.pdf"), 95, settings));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("progress is not written there: No such file or directory"));
    EXPECT_FALSE(fs::exists(settings.progressFile)) << "nobody asked for a file";
}

TEST_F(PendingDocumentTest, progressIntoAPipeWithoutAReaderDoesNotWait)
{
    DocumentSettings settings;
    settings.progressFile = path("pipe");
    ASSERT_EQ(mkfifo(settings.progressFile.c_str(), 0600), 0);
    addPages(2);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(m_document.combine(path("a.pdf"), 95, settings));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("No such device"));
}
