#include "library/export/add_text.h"

#include "library/documents/made/made_ofd.h"
#include "library/documents/made/made_pdf.h"
#include "library/documents/made/refusal.h"
#include "library/export/convert.h"
#include "library/export/pending_document.h"
#include "tests/library/support/fake_tesseract.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/patterns.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <iterator>
#include <sstream>

using namespace korv;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

namespace {

class AddTextTest : public testing::Test
{
protected:
    void SetUp() override { m_text.text = recogniser(300s); }
    static std::shared_ptr<TextRecogniser> recogniser(std::chrono::milliseconds wait)
    {
        return TextRecogniser::create({{"eng"}, wait, ""}).value();
    }
    std::string path(const std::string &name) const { return m_folder / name; }
    std::string bytesOf(const std::string &name) const { return support::readFile(path(name)); }
    void write(const std::string &name, const std::string &content) const
    {
        pictures::writeBytes(path(name), ByteView(content.data(), content.size()));
    }
    std::string output(const std::vector<std::string> &arguments) const
    {
        const support::ScopedVariable programs("PATH", "/usr/bin:/bin");
        const ProgramResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 0) << arguments.front() << ": " << result.output << result.errors;
        return result.output;
    }
    /// A document without text whose pages are stored in all ways but layers.
    void makeDocument(const std::string &name) const
    {
        PendingDocument document;
        for (const char *source : {"1.jpg", "2.png", "3.png", "4.png"})
            std::filesystem::remove(path(source));
        pictures::writeBytes(path("1.jpg"), pictures::jpegOf(pictures::page(320, 240)));
        ASSERT_TRUE(writeImage(pictures::page(300, 200), path("2.png"), 95));
        ASSERT_TRUE(writeImage(pictures::lineart(640, 480), path("3.png"), 95));
        ASSERT_TRUE(
            writeImage(pictures::numbered(200, 310, PixelFormat::Gray8), path("4.png"), 95));
        for (const char *source : {"1.jpg", "2.png", "3.png", "4.png"})
            ASSERT_TRUE(document.add(path(source)));
        ASSERT_TRUE(document.combine(path(name), 100));
    }
    Result<void> addTextTo(const std::string &source, const std::string &destination) const
    {
        return convertImage(path(source), path(destination), 95, m_text);
    }
    /// Of a pdf with one page of 1600 x 2200 pixels: what would be recognised is what readers show.
    void expectPictureAsShown(const std::string &name) const
    {
        const Bytes content = pictures::readBytes(path(name));
        const auto document = MadePdf::open(content);
        ASSERT_TRUE(document) << document.error().text;
        const Result<Image> picture = document.value()->picture(0);
        ASSERT_TRUE(picture) << picture.error().text;
        const Image shown = pictures::fromPnm(output(
            {"pdftoppm", "-gray", "-scale-to-x", "1600", "-scale-to-y", "2200", path(name)}));
        EXPECT_LT(pictures::difference(picture.value(), shown), 6);
    }
    void expectRefused(const std::string &name, const char *reason) const
    {
        const std::string before = bytesOf(name);
        const Result<void> refused = addTextTo(name, "out" + name.substr(name.find_last_of('.')));
        EXPECT_EQ(refused.code(), -EBADMSG) << name;
        EXPECT_EQ(refused.error().text, reason) << name;
        EXPECT_EQ(bytesOf(name), before);
        EXPECT_FALSE(std::filesystem::exists(path("out.pdf"))) << name;
        EXPECT_FALSE(std::filesystem::exists(path("out.ofd"))) << name;
    }

    testing_support::TemporaryFolder m_folder;
    testing_support::FakeTesseract m_tesseract;
    DocumentSettings m_text;
};

} // namespace

TEST_F(AddTextTest, pdfKeepsItsBytesAndGetsTheText)
{
    makeDocument("a.pdf");
    ASSERT_TRUE(addTextTo("a.pdf", "b.pdf"));
    const std::string before = bytesOf("a.pdf");
    const std::string after = bytesOf("b.pdf");
    ASSERT_GT(after.size(), before.size());
    EXPECT_EQ(after.substr(0, before.size()), before);
    EXPECT_THAT(output({"qpdf", "--check", path("b.pdf")}),
                HasSubstr("No syntax or stream encoding errors"));
    EXPECT_EQ(output({"pdftotext", "-nopgbrk", path("b.pdf"), "-"}),
              "word\n\nword\n\nword\n\nword\n\n");
    const std::string read = output({"mutool", "draw", "-q", "-F", "txt", path("b.pdf")});
    std::istringstream words(read);
    EXPECT_EQ(std::vector<std::string>(std::istream_iterator<std::string>(words), {}),
              std::vector<std::string>(4, "word"));
}

TEST_F(AddTextTest, pagesLookAsBefore)
{
    makeDocument("a.pdf");
    ASSERT_TRUE(addTextTo("a.pdf", "b.pdf"));
    EXPECT_EQ(output({"pdftoppm", "-r", "72", path("b.pdf")}),
              output({"pdftoppm", "-r", "72", path("a.pdf")}));
}

TEST_F(AddTextTest, wordsAreWhereADocumentMadeWithTextHasThem)
{
    pictures::writeBytes(path("1.jpg"), pictures::jpegOf(pictures::page(320, 240)));
    const support::ScopedVariable sheet("KORV_CAMERA_PAGE_SIZE", "A5");
    PendingDocument plain;
    ASSERT_TRUE(plain.add(path("1.jpg")));
    ASSERT_TRUE(plain.combine(path("a.pdf"), 95));
    PendingDocument withText;
    ASSERT_TRUE(withText.add(path("1.jpg")));
    ASSERT_TRUE(withText.combine(path("b.pdf"), 95, m_text));
    ASSERT_TRUE(addTextTo("a.pdf", "c.pdf"));
    const auto boxIn = [&](const std::string &name) {
        const std::string xml = output({"pdftotext", "-bbox", path(name), "-"});
        const auto found = support::matchesOf(
            xml, "xMin=\"(.*)\" yMin=\"(.*)\" xMax=\"(.*)\" yMax=\"(.*)\">word<");
        std::vector<double> sides;
        if (!found.empty())
            std::transform(found[0].begin() + 1, found[0].end(), std::back_inserter(sides),
                           [](const std::string &side) { return std::stod(side); });
        return sides;
    };
    ASSERT_EQ(boxIn("b.pdf").size(), 4U);
    EXPECT_THAT(boxIn("c.pdf"),
                testing::Pointwise(testing::DoubleNear(0.01), boxIn("b.pdf"))); // points
}

TEST_F(AddTextTest, pdfKeepsTheRulesOfPdfA2u)
{
    makeDocument("a.pdf");
    ASSERT_TRUE(addTextTo("a.pdf", "b.pdf"));
    const std::string file =
        output({"qpdf", "--qdf", "--object-streams=disable", path("b.pdf"), "-"});
    EXPECT_THAT(file, HasSubstr("<pdfaid:conformance>U</pdfaid:conformance>"));
    EXPECT_THAT(file, Not(HasSubstr("<pdfaid:conformance>B")));
    EXPECT_THAT(file, HasSubstr("/Lang (en)"));
    for (const char *needed : {"/FontFile2", "/ToUnicode", "/CIDToGIDMap", "/Encoding /Identity-H",
                               "/Subtype /CIDFontType2", "/Ordering (Identity)", "/DW 550"})
        EXPECT_THAT(file, HasSubstr(needed));
    EXPECT_THAT(output({"pdffonts", path("b.pdf")}),
                testing::ContainsRegex("CID TrueType +Identity-H +yes no +yes"));
    // the identifier of the document stays, that of its state changes (ISO 32000-1, 14.4)
    constexpr char kIdentifiers[] = "/ID \\[<(\\w{32})> ?<(\\w{32})>\\]";
    const auto before = support::matchesOf(bytesOf("a.pdf"), kIdentifiers);
    const auto after = support::matchesOf(bytesOf("b.pdf"), kIdentifiers);
    ASSERT_FALSE(before.empty());
    ASSERT_FALSE(after.empty());
    EXPECT_EQ(after.back()[1], before.back()[1]);
    EXPECT_NE(after.back()[2], before.back()[2]);
}

TEST_F(AddTextTest, layersAreRecognisedAsReadersShowThem)
{
    pictures::writeBytes(path("1.jpg"), pictures::jpegOf(pictures::page(1600, 2200)));
    DocumentSettings compact;
    compact.compact = true;
    ASSERT_TRUE(convertImage(path("1.jpg"), path("a.pdf"), 95, compact));
    ASSERT_THAT(bytesOf("a.pdf"), HasSubstr("/ImageMask true"));
    expectPictureAsShown("a.pdf");
    ASSERT_TRUE(addTextTo("a.pdf", "b.pdf"));
    EXPECT_EQ(output({"pdftotext", "-nopgbrk", path("b.pdf"), "-"}), "word\n\n");
}

TEST_F(AddTextTest, inkOfSeveralColoursIsSeen)
{
    Image page = pictures::page(1600, 2200);
    for (int y = 400; y < 1000; ++y) {
        for (int x = 300; x < 900; ++x) {
            if (y / 8 % 5 == 0) // red stripes across the type
                std::fill_n(page.row(y) + 3 * x + 1, 2, std::uint8_t{30});
        }
    }
    pictures::writeBytes(path("1.jpg"), pictures::jpegOf(page));
    DocumentSettings compact;
    compact.compact = true;
    ASSERT_TRUE(convertImage(path("1.jpg"), path("a.pdf"), 95, compact));
    const std::string pdf = bytesOf("a.pdf");
    ASSERT_NE(pdf.find("/ImageMask true"), pdf.rfind("/ImageMask true")) << "only one mask";
    expectPictureAsShown("a.pdf");
    EXPECT_TRUE(addTextTo("a.pdf", "b.pdf"));
}

TEST_F(AddTextTest, picturesAreThoseOfThePages)
{
    for (const char *name : {"a.pdf", "a.ofd"}) {
        makeDocument(name);
        const Bytes content = pictures::readBytes(path(name));
        const auto document =
            std::string(name) == "a.pdf" ? MadePdf::open(content) : MadeOfd::open(content);
        ASSERT_TRUE(document) << document.error().text;
        ASSERT_EQ(document.value()->pageCount(), 4U);
        EXPECT_TRUE(
            pictures::same(document.value()->picture(2).value(), pictures::lineart(640, 480)));
        EXPECT_TRUE(pictures::same(document.value()->picture(3).value(),
                                   pictures::numbered(200, 310, PixelFormat::Gray8)));
    }
}

TEST_F(AddTextTest, ofdKeepsAllButThePagesAndTheirLists)
{
    makeDocument("a.ofd");
    ASSERT_TRUE(addTextTo("a.ofd", "b.ofd"));
    EXPECT_THAT(output({"unzip", "-tq", path("b.ofd")}), HasSubstr("No errors"));
    const auto entry = [&](const char *file, const std::string &name) {
        return output({"unzip", "-p", path(file), name});
    };
    for (const char *kept :
         {"OFD.xml", "Doc_0/DocumentRes.xml", "Doc_0/Res/image_0.jpg", "Doc_0/Res/image_3.png"})
        EXPECT_EQ(entry("b.ofd", kept), entry("a.ofd", kept)) << kept;
    for (int page = 0; page < 4; ++page) {
        const std::string xml =
            entry("b.ofd", "Doc_0/Pages/Page_" + std::to_string(page) + "/Content.xml");
        const std::size_t text = xml.find(">word</ofd:TextCode>");
        ASSERT_NE(text, std::string::npos);
        EXPECT_LT(text, xml.find("<ofd:ImageObject")); // under the picture
    }
    // as a document that was made with text has it, but for the numbers of objects
    EXPECT_THAT(entry("b.ofd", "Doc_0/PublicRes.xml"), HasSubstr("<ofd:Font ID="));
    const auto highest =
        support::matchesOf(entry("b.ofd", "Doc_0/Document.xml"), "<ofd:MaxUnitID>(\\d+)<");
    const auto id = support::matchesOf(entry("b.ofd", "Doc_0/Pages/Page_3/Content.xml"),
                                       "<ofd:TextObject ID=\"(\\d+)\"");
    ASSERT_FALSE(highest.empty());
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(std::stoi(id[0][1]), std::stoi(highest[0][1]));
}

TEST_F(AddTextTest, documentsWithTextAreRefused)
{
    for (const std::string extension : {".pdf", ".ofd"}) {
        makeDocument("a" + extension);
        ASSERT_TRUE(addTextTo("a" + extension, "b" + extension));
        expectRefused("b" + extension, refusal::kHasText);
    }
}

TEST_F(AddTextTest, foreignDocumentsAreRefused)
{
    makeDocument("a.pdf");
    output({"qpdf", path("a.pdf"), path("rewritten.pdf")});
    expectRefused("rewritten.pdf", refusal::kForeign);
    output({"qpdf", "--linearize", path("a.pdf"), path("linear.pdf")});
    expectRefused("linear.pdf", refusal::kForeign);
    output({"qpdf", "--object-streams=generate", path("a.pdf"), path("packed.pdf")});
    expectRefused("packed.pdf", refusal::kForeign);
    output({"qpdf", "--encrypt", "user", "owner", "256", "--", path("a.pdf"), path("secret.pdf")});
    expectRefused("secret.pdf", refusal::kEncrypted);
    // somebody else's update behind our file
    write("updated.pdf", bytesOf("a.pdf") + "% a remark\n");
    expectRefused("updated.pdf", refusal::kForeign);
    makeDocument("a.ofd");
    output(
        {"sh", "-c",
         "cd " + path("") + " && unzip -q a.ofd -d x && cd x && python3 -m zipfile -c ../b.ofd *"});
    const Result<void> zipped = addTextTo("b.ofd", "out.ofd");
    EXPECT_EQ(zipped.code(), -EBADMSG);
    EXPECT_FALSE(std::filesystem::exists(path("out.ofd")));
}

TEST_F(AddTextTest, damagedDocumentsAreRefused)
{
    for (const std::string extension : {".pdf", ".ofd"}) {
        makeDocument("a" + extension);
        const std::string whole = bytesOf("a" + extension);
        for (std::size_t part = 1; part < 12; ++part) {
            write("cut" + extension, whole.substr(0, whole.size() * part / 12));
            expectRefused("cut" + extension, refusal::kDamaged);
        }
        // with a byte that is another one it is refused, or its pages can be asked for
        for (std::size_t at = 9; at < whole.size(); at += whole.size() / 197) {
            Bytes changed(whole.begin(), whole.end());
            changed[at] ^= 0x11;
            const auto document =
                extension == ".pdf" ? MadePdf::open(changed) : MadeOfd::open(changed);
            const std::size_t pages = document ? document.value()->pageCount() : 0;
            EXPECT_TRUE(document ? pages == 4 : document.code() == -EBADMSG);
            for (std::size_t page = 0; page < pages; ++page)
                static_cast<void>(document.value()->picture(page));
        }
    }
}

TEST_F(AddTextTest, documentKeepsItsFormat)
{
    makeDocument("a.pdf");
    EXPECT_EQ(addTextTo("a.pdf", "b.ofd").code(), -EINVAL);
    EXPECT_FALSE(std::filesystem::exists(path("b.ofd")));
}

TEST_F(AddTextTest, withoutARecogniserADocumentIsNoPictureAsBefore)
{
    makeDocument("a.pdf");
    EXPECT_EQ(convertImage(path("a.pdf"), path("b.pdf"), 95).code(), -EBADMSG);
    EXPECT_FALSE(std::filesystem::exists(path("b.pdf")));
}

TEST_F(AddTextTest, nothingRecognisedMakesNoFile)
{
    makeDocument("a.pdf");
    m_tesseract.install("printf 'level\\tpage_num\\tblock_num\\tpar_num\\tline_num\\tword_num"
                        "\\tleft\\ttop\\twidth\\theight\\tconf\\ttext\\n'\n"
                        "printf \"1\\t1\\t0\\t0\\t0\\t0\\t0\\t0\\t$width\\t$height\\t-1\\t\\n\"\n"
                        "exit 0");
    EXPECT_EQ(addTextTo("a.pdf", "b.pdf").code(), -ENODATA);
    m_text.text = recogniser(300s);
    m_tesseract.install("exit 1");
    testing::internal::CaptureStderr();
    EXPECT_EQ(addTextTo("a.pdf", "b.pdf").code(), -ENODATA);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("a.pdf, page 4: this page gets no text"));
    EXPECT_FALSE(std::filesystem::exists(path("b.pdf")));
}

TEST_F(AddTextTest, pagesThatFailGoWithoutAndAreReported)
{
    makeDocument("a.pdf");
    m_tesseract.install("if [ $width = 640 ]; then exit 1; fi");
    testing::internal::CaptureStderr();
    const Result<void> added = addTextTo("a.pdf", "b.pdf");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a.pdf, page 3"));
    EXPECT_EQ(added.code(), -ENODATA);
    EXPECT_EQ(added.error().text, "one of its pages has no text");
    EXPECT_EQ(output({"pdftotext", path("b.pdf"), "-"}), "word\n\n\fword\n\n\f\fword\n\n\f");
}
