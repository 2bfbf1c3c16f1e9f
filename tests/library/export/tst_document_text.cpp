#include "library/export/document_text.h"

#include "library/export/convert.h"
#include "library/export/pending_document.h"
#include "tests/library/support/fake_tesseract.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"

#include <chrono>
#include <gmock/gmock.h>

using namespace korv;
using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

class DocumentTextTest : public testing::Test
{
protected:
    void SetUp() override { m_settings.text = TextRecogniser::create({{"eng"}, 20s, ""}).value(); }
    std::string picture(const std::string &name, int width = 320)
    {
        pictures::writeBytes(m_folder / name, pictures::jpegOf(pictures::page(width, 240)));
        return m_folder / name;
    }
    void setWait(std::chrono::milliseconds wait)
    {
        m_settings.text = TextRecogniser::create({{"eng"}, wait, ""}).value();
    }
    /// Makes a document of so many pages; what it says on the log.
    std::string combine(int pages, const std::string &name = "a.pdf")
    {
        PendingDocument document;
        for (int i = 0; i < pages; ++i)
            EXPECT_TRUE(document.add(picture(std::to_string(i) + ".jpg", 320 + i)));
        testing::internal::CaptureStderr();
        EXPECT_TRUE(document.combine(m_folder / name, 95, m_settings));
        return testing::internal::GetCapturedStderr();
    }
    std::string textOf(const std::string &name = "a.pdf")
    {
        const support::ScopedVariable path("PATH", "/usr/bin:/bin");
        return runProgram({"pdftotext", "-nopgbrk", m_folder / name, "-"}).output;
    }
    std::string pagesOf(const std::string &name = "a.pdf")
    {
        const support::ScopedVariable path("PATH", "/usr/bin:/bin");
        return runProgram({"qpdf", "--show-npages", m_folder / name}).output;
    }
    std::string bytesOf(const std::string &name) { return support::readFile(m_folder / name); }

    testing_support::TemporaryFolder m_folder;
    testing_support::FakeTesseract m_tesseract;
    DocumentSettings m_settings;
};

/// Without what differs from one document to the next.
std::string withoutIdentifiers(std::string pdf)
{
    for (const char *name : {"uuid:", "/ID [<", "> <"}) {
        const std::size_t at = pdf.find(name);
        EXPECT_NE(at, std::string::npos);
        pdf.replace(at + std::string(name).size(), 32, 32, 'x');
    }
    return pdf;
}

} // namespace

TEST_F(DocumentTextTest, everyPageHasItsText)
{
    EXPECT_EQ(combine(5), "");
    EXPECT_EQ(textOf(), "word\n\nword\n\nword\n\nword\n\nword\n\n");
    EXPECT_THAT(bytesOf("a.pdf"), HasSubstr("/Lang (en)"));
}

TEST_F(DocumentTextTest, singlePicturesOfAllKindsHaveIt)
{
    ASSERT_TRUE(convertImage(picture("a.jpg"), m_folder / "a.png", 95));
    ASSERT_TRUE(convertImage(m_folder / "a.png", m_folder / "a.tiff", 95));
    for (const char *source : {"a.jpg", "a.png", "a.tiff"}) {
        const std::string name = std::string(source) + ".pdf";
        ASSERT_TRUE(convertImage(m_folder / source, m_folder / name, 100, m_settings));
        EXPECT_EQ(textOf(name), "word\n\n") << source;
    }
    ASSERT_TRUE(writeImage(pictures::lineart(300, 200), m_folder / "b.pdf", 95, m_settings));
    EXPECT_EQ(textOf("b.pdf"), "word\n\n");
}

TEST_F(DocumentTextTest, ofdHasIt)
{
    EXPECT_EQ(combine(2, "a.ofd"), "");
    const support::ScopedVariable path("PATH", "/usr/bin:/bin");
    for (const char *page : {"Doc_0/Pages/Page_0/Content.xml", "Doc_0/Pages/Page_1/Content.xml"})
        EXPECT_THAT(runProgram({"unzip", "-p", m_folder / "a.ofd", page}).output,
                    HasSubstr(">word</ofd:TextCode>"));
}

TEST_F(DocumentTextTest, formatsWithoutTextAskForNone)
{
    m_tesseract.installOnly("touch '" + (m_folder / "asked") + "'");
    EXPECT_EQ(combine(2, "a.tiff"), "");
    ASSERT_TRUE(convertImage(m_folder / "0.jpg", m_folder / "b.png", 95, m_settings));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "asked"));
}

TEST_F(DocumentTextTest, withoutTheProgramDocumentsAreAsBefore)
{
    m_tesseract.remove();
    setWait(20s);
    m_settings.title = "title";
    EXPECT_THAT(combine(2, "a.pdf"), HasSubstr("tesseract is not installed"));
    m_settings.text = nullptr;
    EXPECT_EQ(combine(2, "b.pdf"), "");
    const std::string a = withoutIdentifiers(bytesOf("a.pdf"));
    const std::string b = withoutIdentifiers(bytesOf("b.pdf"));
    ASSERT_EQ(a.size(), b.size());
    std::size_t different = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        different += a[i] != b[i] ? 1 : 0;
    // the clock may have gone on between the two; there are five dates
    EXPECT_LE(different, 5 * std::string("20261122131500").size());
}

TEST_F(DocumentTextTest, programsThatFailLoseNoPage)
{
    for (const char *commands : {"kill -SEGV $$", "exit 1", "head -c 100000 /dev/urandom; exit 0",
                                 "head -c 100000000 /dev/zero; exit 0"}) {
        m_tesseract.install(commands);
        setWait(20s);
        std::filesystem::remove(m_folder / "a.pdf");
        EXPECT_THAT(combine(3), HasSubstr("this page gets no text")) << commands;
        EXPECT_EQ(pagesOf(), "3\n") << commands;
        EXPECT_EQ(textOf(), "") << commands;
    }
}

TEST_F(DocumentTextTest, diskIsNotFilled)
{
    m_tesseract.install("head -c 100000000 /dev/zero > '" + (m_folder / "big") + "'; exit 0");
    combine(1);
    EXPECT_EQ(pagesOf(), "1\n");
    EXPECT_EQ(bytesOf("big"), "");
}

TEST_F(DocumentTextTest, programThatHangsHoldsADocumentUpForTwoPagesAtMost)
{
    m_tesseract.install("sleep 1000");
    setWait(1s);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(combine(12), HasSubstr("this document waits for no more text"));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(took.count(), 8);
    EXPECT_EQ(pagesOf(), "12\n");
}

TEST_F(DocumentTextTest, programThatHangsWhenAskedForItsLanguagesIsGivenUp)
{
    m_tesseract.installOnly("sleep 1000");
    setWait(1s);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(combine(12), HasSubstr("documents get no text"));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(took.count(), 8);
    EXPECT_EQ(pagesOf(), "12\n");
}
