#include "library/documents/document_settings.h"

#include "library/export/pending_document.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cstdlib>
#include <gmock/gmock.h>

using namespace korv;
using testing::HasSubstr;

namespace {

class DocumentSettingsTest : public testing::Test
{
protected:
    ~DocumentSettingsTest() override
    {
        ::unsetenv("KORV_CAMERA_TITLE");
        ::unsetenv("KORV_CAMERA_PAGE_SIZE");
    }
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    std::string combine(const std::string &name, int width = 300, int height = 150)
    {
        PendingDocument document;
        pictures::writeBytes(path("source"), pictures::jpegOf(pictures::page(width, height)));
        EXPECT_TRUE(document.add(path("source")));
        const Result<void> combined = document.combine(path(name), 95);
        EXPECT_TRUE(combined) << combined.error().text;
        return path(name);
    }
    static std::string unzipped(const std::string &ofd, const std::string &name)
    {
        return runProgram({"unzip", "-p", ofd, name}).output;
    }

    support::TempHome m_home;
};

} // namespace

TEST_F(DocumentSettingsTest, sheetsHaveNamesOrSides)
{
    const auto expectSheet = [](const std::string &text, double width, double height) {
        const auto sheet = sheetOf(text);
        ASSERT_TRUE(sheet) << text;
        EXPECT_DOUBLE_EQ(sheet->width, width) << text;
        EXPECT_DOUBLE_EQ(sheet->height, height) << text;
    };
    expectSheet("A3", 297, 420);
    expectSheet("a4", 210, 297);
    expectSheet("A5", 148, 210);
    expectSheet("Letter", 215.9, 279.4);
    expectSheet("card", 85.6, 53.98);
    expectSheet("100x62.5", 100, 62.5);
    expectSheet("5000X2", 5000, 2);
    for (const std::string text :
         {"",     "A",           "A6",        "A4 ",      "100",      "x",     "100x",
          "x100", "100x200x300", "-1x5",      "1e2x50",   "nanx5",    "infx5", "100,5x50",
          "1x1",  "5001x10",     "100x200mm", " 100x200", "+100x200", "0x10"})
        EXPECT_FALSE(sheetOf(text)) << text;
}

// A reader of XML makes a line feed of a carriage return that stands for itself (XML 1.0, 2.11).
TEST_F(DocumentSettingsTest, carriageReturnInATitleSurvivesReadersOfXml)
{
    ::setenv("KORV_CAMERA_TITLE", "one\rtwo", 1);
    EXPECT_THAT(runProgram({"pdfinfo", "-meta", combine("a.pdf")}).output,
                HasSubstr(">one&#13;two<"));
    EXPECT_THAT(unzipped(combine("a.ofd"), "OFD.xml"),
                HasSubstr("<ofd:Title>one&#13;two</ofd:Title>"));
}

TEST_F(DocumentSettingsTest, titleStandsInEveryDocument)
{
    ::setenv("KORV_CAMERA_TITLE", "R\xC3\xA9union <1> & \xE9\xA1\xB5", 1);
    const std::string pdf = combine("a.pdf");
    EXPECT_THAT(runProgram({"pdfinfo", pdf}).output,
                HasSubstr("R\xC3\xA9union <1> & \xE9\xA1\xB5"));
    EXPECT_THAT(runProgram({"pdfinfo", "-meta", pdf}).output,
                HasSubstr("R\xC3\xA9union &lt;1&gt; &amp; \xE9\xA1\xB5"));
    EXPECT_THAT(unzipped(combine("a.ofd"), "OFD.xml"),
                HasSubstr("<ofd:Title>R\xC3\xA9union &lt;1&gt; &amp; \xE9\xA1\xB5</ofd:Title>"));
    EXPECT_THAT(runProgram({"tiffinfo", combine("a.tif")}).output, HasSubstr("DocumentName: R"));
    ::setenv("KORV_CAMERA_TITLE", "bad \xFF\x01 bytes", 1);
    EXPECT_THAT(runProgram({"pdfinfo", combine("b.pdf")}).output,
                HasSubstr("bad \xEF\xBF\xBD\xEF\xBF\xBD bytes"));
    for (const char *none : {"", static_cast<const char *>(nullptr)}) {
        none != nullptr ? ::setenv("KORV_CAMERA_TITLE", none, 1) : ::unsetenv("KORV_CAMERA_TITLE");
        const std::string name = none != nullptr ? "empty.pdf" : "unset.pdf";
        EXPECT_THAT(runProgram({"pdfinfo", combine(name)}).output,
                    testing::ContainsRegex("Title: +" + name.substr(0, name.size() - 4) + "\n"));
    }
}

TEST_F(DocumentSettingsTest, pageOfAPdfHasTheSizeAndHoldsThePictureInItsMiddle)
{
    ::setenv("KORV_CAMERA_PAGE_SIZE", "A4", 1);
    const std::string across = combine("across.pdf", 300, 150);
    EXPECT_THAT(runProgram({"pdfinfo", across}).output, HasSubstr("841.89 x 595.276 pts (A4)"));
    const ProgramResult drawn =
        runProgram({"mutool", "draw", "-q", "-r", "72", "-c", "rgb", "-o", path("a.ppm"), across});
    ASSERT_EQ(drawn.status, 0);
    const Image sheet = pictures::fromPnm(support::readFile(path("a.ppm")));
    // 842 x 421 of 842 x 595 points: white above and below, the red corner of the picture between
    EXPECT_EQ(sheet.row(80)[3 * 20], 255);
    EXPECT_EQ(sheet.row(80)[3 * 20 + 1], 255);
    EXPECT_LT(sheet.row(100)[3 * 20 + 1], 100);
    EXPECT_EQ(sheet.row(515)[3 * 20 + 1], 255);
    const std::string upright = combine("upright.pdf", 150, 300);
    EXPECT_THAT(runProgram({"pdfinfo", upright}).output, HasSubstr("595.276 x 841.89 pts (A4)"));
    ::setenv("KORV_CAMERA_PAGE_SIZE", "200x100", 1);
    EXPECT_THAT(runProgram({"pdfinfo", combine("own.pdf", 150, 300)}).output,
                HasSubstr("283.465 x 566.929 pts"));
    EXPECT_EQ(runProgram({"qpdf", "--check", across}).status, 0);
}

TEST_F(DocumentSettingsTest, pageOfAnOfdHasTheSizeAndHoldsThePictureInItsMiddle)
{
    ::setenv("KORV_CAMERA_PAGE_SIZE", "200x200", 1);
    const std::string ofd = combine("a.ofd", 300, 150);
    const std::string page = unzipped(ofd, "Doc_0/Pages/Page_0/Content.xml");
    EXPECT_THAT(page, HasSubstr(">0 0 200 200<"));
    EXPECT_THAT(page, HasSubstr("Boundary=\"0 50 200 100\""));
    EXPECT_THAT(page, HasSubstr("CTM=\"200 0 0 100 0 0\""));
    EXPECT_THAT(unzipped(ofd, "Doc_0/Document.xml"), HasSubstr(">0 0 200 200<"));
}

TEST_F(DocumentSettingsTest, pictureInATiffFitsOnThePage)
{
    ::setenv("KORV_CAMERA_PAGE_SIZE", "254x50.8", 1);
    EXPECT_THAT(runProgram({"tiffinfo", combine("a.tif", 300, 150)}).output,
                HasSubstr("Resolution: 75, 75 pixels/inch"));
}

TEST_F(DocumentSettingsTest, sizeThatIsNoneIsToldAndIgnored)
{
    ::setenv("KORV_CAMERA_PAGE_SIZE", "A9", 1);
    testing::internal::CaptureStderr();
    const std::string pdf = combine("a.pdf", 300, 150);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("warning: KORV_CAMERA_PAGE_SIZE: A9: not a page size"));
    EXPECT_THAT(runProgram({"pdfinfo", pdf}).output, HasSubstr("830.769 x 415.385 pts"));
}
