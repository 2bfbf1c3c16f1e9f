// Pages that were photographed on their side or on their head.
#include "library/export/convert.h"
#include "library/export/pending_document.h"
#include "library/image/rotate.h"
#include "library/jpeg/jpeg.h"
#include "library/recognition/text_recogniser.h"
#include "tests/library/support/fake_tesseract.h"
#include "tests/library/support/lying_page.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"

#include <gmock/gmock.h>

using namespace korv;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr int kWidth = 96; ///< whole blocks of a JPEG
constexpr int kHeight = 128;

class UprightPagesTest : public testing::Test
{
protected:
    void SetUp() override
    {
        install();
        m_settings.text = recogniser(TurnedPages::WithText);
    }
    void install(const std::string &commands = "", int confidence = 95)
    {
        m_tesseract.install(commands + "\n"
                            + testing_support::commandsThatReadCornerPages(confidence));
    }
    static std::shared_ptr<TextRecogniser> recogniser(TurnedPages turned, bool isForText = true)
    {
        return TextRecogniser::create({{"eng"}, 20s, "", turned, isForText}).value();
    }
    void wantDirectionOnly()
    {
        m_settings.text = nullptr;
        m_settings.upright = recogniser(TurnedPages::All, false);
    }
    std::string path(const std::string &name) const { return m_folder / name; }

    /// A photograph of a page that was turned so.
    Bytes photograph(Rotation rotation, int width = kWidth, int height = kHeight)
    {
        return pictures::jpegOf(rotate(testing_support::cornerPage(width, height), rotation));
    }
    std::string convert(const Bytes &source, const std::string &name)
    {
        pictures::writeBytes(path("source"), source);
        std::filesystem::remove(path(name));
        testing::internal::CaptureStderr();
        EXPECT_TRUE(convertImage(path("source"), path(name), 95, m_settings));
        m_said = testing::internal::GetCapturedStderr();
        return path(name);
    }
    ProgramResult run(const std::vector<std::string> &arguments) const
    {
        const support::ScopedVariable programs("PATH", "/usr/bin:/bin");
        return runProgram(arguments);
    }
    /// The JPEG that a pdf has for its page.
    Bytes jpegIn(const std::string &pdf)
    {
        EXPECT_EQ(run({"pdfimages", "-j", pdf, path("page")}).status, 0);
        return pictures::readBytes(path("page-000.jpg"));
    }
    std::string textOf(const std::string &pdf)
    {
        return run({"pdftotext", "-nopgbrk", pdf, "-"}).output;
    }
    static Image upright() { return testing_support::cornerPage(kWidth, kHeight); }

    testing_support::TemporaryFolder m_folder;
    testing_support::FakeTesseract m_tesseract;
    DocumentSettings m_settings;
    std::string m_said;
};

constexpr Rotation kLying[] = {Rotation::Left90, Rotation::Right90, Rotation::Half};

} // namespace

TEST_F(UprightPagesTest, pagesWithTextAreTurnedWithIt)
{
    for (const Rotation rotation : kLying) {
        const std::string pdf = convert(photograph(rotation), "a.pdf");
        EXPECT_EQ(m_said, "");
        const auto page = jpeg::decode(jpegIn(pdf));
        ASSERT_TRUE(page);
        EXPECT_LT(pictures::difference(page.value(), upright()), 2);
        EXPECT_EQ(textOf(pdf), "abcdefghijklmnopqrstuvwx\n\n");
        EXPECT_EQ(run({"qpdf", "--check", pdf}).status, 0);
    }
}

TEST_F(UprightPagesTest, wordsLieWhereTheTurnedPictureShowsThem)
{
    const std::string boxes =
        run({"pdftotext", "-bbox", convert(photograph(Rotation::Left90), "a.pdf"), "-"}).output;
    const std::string straight =
        run({"pdftotext", "-bbox", convert(photograph(Rotation::None), "b.pdf"), "-"}).output;
    EXPECT_THAT(boxes, HasSubstr("abcdefghijklmnopqrstuvwx"));
    EXPECT_EQ(boxes.substr(boxes.find("<page")), straight.substr(straight.find("<page")));
}

TEST_F(UprightPagesTest, jpegIsTurnedWithoutLoss)
{
    const Bytes source = photograph(Rotation::Half);
    const Bytes page = jpegIn(convert(source, "a.pdf"));
    const Image decoded = jpeg::decode(source).value();
    // the decoder itself does not smooth chroma alike in both directions
    EXPECT_LT(pictures::difference(jpeg::decode(page).value(), rotate(decoded, Rotation::Half)),
              0.2);
    EXPECT_NEAR(static_cast<double>(page.size()), static_cast<double>(source.size()), 200);
}

TEST_F(UprightPagesTest, picturesOfAllKindsAndSizesAreTurned)
{
    const Image lying = rotate(testing_support::cornerPage(101, 133), Rotation::Right90);
    for (const char *name : {"a.jpg", "a.png", "a.tiff"}) {
        ASSERT_TRUE(writeImage(lying, path(name), 95));
        const std::string pdf = convert(pictures::readBytes(path(name)), "a.pdf");
        EXPECT_LT(pictures::difference(jpeg::decode(jpegIn(pdf)).value(),
                                       testing_support::cornerPage(101, 133)),
                  3)
            << name;
        EXPECT_EQ(textOf(pdf), "abcdefghijklmnopqrstuvwx\n\n") << name;
        std::filesystem::remove(path(name));
    }
    ASSERT_TRUE(writeImage(lying, path("b.pdf"), 95, m_settings));
    EXPECT_EQ(textOf(path("b.pdf")), "abcdefghijklmnopqrstuvwx\n\n");
}

TEST_F(UprightPagesTest, ofdIsTurned)
{
    const std::string ofd = convert(photograph(Rotation::Left90), "a.ofd");
    EXPECT_THAT(run({"unzip", "-p", ofd, "Doc_0/Pages/Page_0/Content.xml"}).output,
                HasSubstr(">abcdefghijklmnopqrstuvwx</ofd:TextCode>"));
}

TEST_F(UprightPagesTest, compactAndCleanPagesAreTurned)
{
    m_settings.clean = true;
    m_settings.compact = true;
    const std::string pdf = convert(photograph(Rotation::Left90), "a.pdf");
    EXPECT_EQ(textOf(pdf), "abcdefghijklmnopqrstuvwx\n\n");
    EXPECT_EQ(run({"qpdf", "--check", pdf}).status, 0);
}

TEST_F(UprightPagesTest, unsurePageKeepsItsBytes)
{
    install("", 60);
    for (const Rotation rotation : kLying) {
        const Bytes source = photograph(rotation);
        EXPECT_EQ(jpegIn(convert(source, "a.pdf")), source);
    }
}

TEST_F(UprightPagesTest, uprightPageKeepsItsBytes)
{
    const Bytes source = photograph(Rotation::None);
    EXPECT_EQ(jpegIn(convert(source, "a.pdf")), source);
}

TEST_F(UprightPagesTest, nothingIsTurnedUnlessWanted)
{
    m_settings.text = recogniser(TurnedPages::None);
    const Bytes source = photograph(Rotation::Half);
    EXPECT_EQ(jpegIn(convert(source, "a.pdf")), source);
}

TEST_F(UprightPagesTest, withoutTextPagesAreTurnedOnly)
{
    wantDirectionOnly();
    const std::string pdf = convert(photograph(Rotation::Right90), "a.pdf");
    EXPECT_LT(pictures::difference(jpeg::decode(jpegIn(pdf)).value(), upright()), 2);
    EXPECT_EQ(textOf(pdf), "");
    EXPECT_THAT(support::readFile(pdf), Not(HasSubstr("/Lang")));
    const std::string tiff = convert(photograph(Rotation::Right90), "a.tiff");
    EXPECT_THAT(run({"tiffinfo", tiff}).output, HasSubstr("Image Width: 96 Image Length: 128"));
}

TEST_F(UprightPagesTest, singlePicturesStayAsTheyLie)
{
    wantDirectionOnly();
    m_settings.text = recogniser(TurnedPages::All);
    m_tesseract.installOnly("touch '" + path("asked") + "'");
    const Bytes source = photograph(Rotation::Half);
    EXPECT_EQ(pictures::readBytes(convert(source, "a.jpg")), source);
    EXPECT_FALSE(std::filesystem::exists(path("asked")));
}

TEST_F(UprightPagesTest, programsThatFailLeaveThePageAsItLies)
{
    for (const char *failure : {"kill -SEGV $$", "exit 1", "head -c 100000 /dev/urandom; exit 0"}) {
        install(std::string(failure) + "\n");
        wantDirectionOnly();
        const Bytes source = photograph(Rotation::Half);
        EXPECT_EQ(jpegIn(convert(source, "a.pdf")), source) << failure;
        EXPECT_THAT(m_said, HasSubstr("source: this page is not turned upright")) << failure;
    }
}

TEST_F(UprightPagesTest, missingProgramIsNamedOnce)
{
    m_tesseract.remove();
    wantDirectionOnly();
    const Bytes source = photograph(Rotation::Half);
    EXPECT_EQ(jpegIn(convert(source, "a.pdf")), source);
    EXPECT_THAT(m_said, HasSubstr("no page is turned upright: tesseract is not installed"));
}

TEST_F(UprightPagesTest, pagesOfADocumentAreTurnedOneByOne)
{
    PendingDocument document;
    int number = 0;
    for (const Rotation rotation :
         {Rotation::Half, Rotation::None, Rotation::Left90, Rotation::Right90}) {
        const std::string name = path("page" + std::to_string(number++));
        pictures::writeBytes(name, photograph(rotation));
        ASSERT_TRUE(document.add(name));
    }
    ASSERT_TRUE(document.combine(path("a.pdf"), 95, m_settings));
    const std::string sizes = run({"pdfinfo", "-l", "4", path("a.pdf")}).output;
    const std::string first = sizes.substr(sizes.find("Page    1 size: ") + 16, 20);
    for (const char *page : {"2", "3", "4"})
        EXPECT_THAT(sizes, HasSubstr(std::string("Page    ") + page + " size: " + first));
}

TEST_F(UprightPagesTest, pageOfAFinishedDocumentStaysAndGetsNoText)
{
    const DocumentSettings with = std::exchange(m_settings, {});
    const std::string made = convert(photograph(Rotation::Half), "a.pdf");
    testing::internal::CaptureStderr();
    EXPECT_EQ(convertImage(made, path("b.pdf"), 95, with).code(), -ENODATA);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("page 1: this page gets no text: it does not lie upright"));
}
