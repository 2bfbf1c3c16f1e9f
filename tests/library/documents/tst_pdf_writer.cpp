#include "library/documents/pdf/pdf_writer.h"

#include "library/documents/page_layers.h"
#include "library/documents/pixel_coders.h"
#include "library/export/page_maker.h"
#include "library/files/memory_sink.h"
#include "library/image/resolution.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <memory>

using namespace korv;
using testing::HasSubstr;

namespace {

Page pageOf(const Bytes &jpeg)
{
    Page page;
    page.jpeg = jpeg;
    page.info = jpeg::readInfo(jpeg).value();
    page.width = page.info.width;
    page.height = page.info.height;
    page.resolution = effectiveResolution(page.width, page.height, page.info.resolution);
    return page;
}

/// The coded picture lives as long as the test program.
Page pageOf(const Image &lineart, double dpi)
{
    static std::vector<std::unique_ptr<CodedPixels>> coded;
    coded.push_back(std::make_unique<CodedPixels>(codePixelsForPdf(lineart, dpi).value()));
    Page page;
    page.pixels = &lineart;
    page.coded = coded.back()->data;
    page.coding = coded.back()->coding;
    page.width = lineart.width();
    page.height = lineart.height();
    page.resolution = dpi;
    return page;
}

class PdfWriterTest : public testing::Test
{
protected:
    void write(const std::vector<Page> &pages, const std::string &title = {})
    {
        MemorySink sink;
        DocumentOptions options;
        options.title = title;
        options.created = 1'700'000'000;
        PdfWriter writer(sink, options);
        for (const Page &page : pages)
            ASSERT_TRUE(writer.addPage(page));
        ASSERT_TRUE(writer.finish());
        pictures::writeBytes(m_path, sink.bytes());
    }
    /// The first page at the resolution given, RGB. It is rendered five times larger and the middle
    /// of each block is taken: poppler lets a picture grow by up to one pixel of the rendering.
    Image rendered(int dpi) const
    {
        constexpr int kScale = 5;
        const ProgramResult result =
            runProgram({"pdftoppm", "-r", std::to_string(dpi * kScale), m_path});
        EXPECT_EQ(result.status, 0) << result.errors;
        const Image large = pictures::fromPnm(result.output);
        Image image(large.width() / kScale, large.height() / kScale, PixelFormat::Rgb24);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const std::uint8_t *from =
                    large.row(y * kScale + kScale / 2) + 3 * (x * kScale + kScale / 2);
                std::copy_n(from, 3, image.row(y) + 3 * x);
            }
        }
        return image;
    }

    support::TempHome m_home;
    std::string m_path = (m_home.scratch() / "a.pdf").string();
};

} // namespace

TEST_F(PdfWriterTest, structureIsFreeOfFaults)
{
    const Bytes colour = pictures::jpegOf(pictures::page(320, 240));
    const Bytes gray = pictures::jpegOf(pictures::numbered(100, 140, PixelFormat::Gray8));
    const Image lineart = pictures::lineart(300, 200);
    write({pageOf(colour), pageOf(gray), pageOf(lineart, 100)}, "0001 (\xE9\xA1\xB5)");
    const ProgramResult check = runProgram({"qpdf", "--check", m_path});
    EXPECT_EQ(check.status, 0) << check.output << check.errors;
    EXPECT_THAT(check.output, HasSubstr("No syntax or stream encoding errors found"));
    EXPECT_TRUE(check.errors.empty()) << check.errors;
    const ProgramResult info = runProgram({"pdfinfo", m_path});
    EXPECT_THAT(info.output, HasSubstr("Pages:           3"));
    EXPECT_THAT(info.output, HasSubstr("0001 (\xE9\xA1\xB5)"));
}

TEST_F(PdfWriterTest, jpegPagesAreStoredByteForByte)
{
    const Bytes first = pictures::jpegOf(pictures::page(320, 240));
    const Bytes second = pictures::jpegOf(pictures::page(111, 222));
    write({pageOf(first), pageOf(second)});
    const std::string prefix = (m_home.scratch() / "out").string();
    ASSERT_EQ(runProgram({"pdfimages", "-all", m_path, prefix}).status, 0);
    EXPECT_EQ(pictures::readBytes(prefix + "-000.jpg"), first);
    EXPECT_EQ(pictures::readBytes(prefix + "-001.jpg"), second);
}

TEST_F(PdfWriterTest, pictureFillsThePageAtItsResolution)
{
    Image picture = pictures::page(320, 240);
    picture.setResolution(144);
    const Bytes jpeg = pictures::jpegOf(picture);
    write({pageOf(jpeg)});
    EXPECT_THAT(runProgram({"pdfinfo", m_path}).output, HasSubstr("160 x 120 pts"));
    EXPECT_LT(pictures::difference(rendered(144), jpeg::decode(jpeg).value()), 1);
}

TEST_F(PdfWriterTest, lineartIsNotInverted)
{
    const Image lineart = pictures::lineart(300, 200);
    write({pageOf(lineart, 72)});
    const Image shown = rendered(72);
    ASSERT_EQ(shown.width(), 300);
    ASSERT_EQ(shown.height(), 200);
    double wrong = 0;
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 300; ++x)
            wrong += std::abs(shown.row(y)[3 * x] - lineart.row(y)[x]) > 128 ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0);
    const std::string prefix = (m_home.scratch() / "out").string();
    ASSERT_EQ(runProgram({"pdfimages", m_path, prefix}).status, 0);
    const Bytes pbm = pictures::readBytes(prefix + "-000.pbm");
    EXPECT_TRUE(pictures::same(pictures::fromPnm(std::string(pbm.begin(), pbm.end())), lineart));
}

TEST_F(PdfWriterTest, manyPagesKeepTheirOrder)
{
    std::vector<Bytes> jpegs;
    for (int i = 0; i < 120; ++i)
        jpegs.push_back(pictures::jpegOf(pictures::page(40 + i, 40)));
    std::vector<Page> pages;
    for (const Bytes &jpeg : jpegs)
        pages.push_back(pageOf(jpeg));
    write(pages);
    EXPECT_EQ(runProgram({"qpdf", "--check", m_path}).status, 0);
    EXPECT_EQ(runProgram({"qpdf", "--show-npages", m_path}).output, "120\n");
    const std::string list = runProgram({"pdfimages", "-list", m_path}).output;
    EXPECT_THAT(list, testing::ContainsRegex("120 +119 +image +159 +40"));
}

TEST_F(PdfWriterTest, documentHasWhatAnArchiveWants)
{
    const Bytes colour = pictures::jpegOf(pictures::page(320, 240));
    const Image lineart = pictures::lineart(300, 200);
    write({pageOf(colour), pageOf(lineart, 100)}, "A <&> \xE9\xA1\xB5 (1)");
    const std::string plain = runProgram({"qpdf", "--qdf", m_path, "-"}).output;
    for (const char *needed : {"/Type /Metadata", "/Subtype /XML", "/S /GTS_PDFA1", "/N 3",
                               "/OutputIntents", "/DestOutputProfile", "/ID ["})
        EXPECT_THAT(plain, HasSubstr(needed));
    for (const char *forbidden :
         {"/Encrypt", "/JavaScript", "/SMask", "/LZWDecode", "/Interpolate", "/Group"})
        EXPECT_THAT(plain, testing::Not(HasSubstr(forbidden)));

    const std::string metadata = (m_home.scratch() / "a.xml").string();
    const std::string packet = runProgram({"pdfinfo", "-meta", m_path}).output;
    pictures::writeBytes(metadata, {packet.data(), packet.size()});
    const auto text = [&](const std::string &name) {
        return runProgram(
                   {"xmllint", "--xpath", "string(//*[local-name()='" + name + "'])", metadata})
            .output;
    };
    EXPECT_EQ(text("part"), "2\n");
    EXPECT_EQ(text("conformance"), "B\n");
    EXPECT_EQ(text("title"), "A <&> \xE9\xA1\xB5 (1)\n");
    EXPECT_EQ(text("Producer"), std::string(kProducer) + "\n");
    EXPECT_EQ(text("CreateDate"), text("ModifyDate"));
    EXPECT_THAT(text("CreateDate"), testing::StartsWith("2023-11-1"));
    const std::string list = runProgram({"pdfinfo", "-isodates", m_path}).output;
    // the same moment, but for the way in which a zone is written
    EXPECT_THAT(list, HasSubstr("CreationDate:    " + text("CreateDate").substr(0, 19)));
    EXPECT_THAT(list, HasSubstr("Title:           A <&> \xE9\xA1\xB5 (1)"));
}

TEST_F(PdfWriterTest, sameBytesButForTheIdentifier)
{
    const Bytes colour = pictures::jpegOf(pictures::page(320, 240));
    write({pageOf(colour)}, "title");
    const Bytes first = pictures::readBytes(m_path);
    write({pageOf(colour)}, "title");
    const Bytes second = pictures::readBytes(m_path);
    ASSERT_EQ(first.size(), second.size());
    std::size_t different = 0;
    for (std::size_t i = 0; i < first.size(); ++i)
        different += first[i] != second[i] ? 1 : 0;
    EXPECT_GT(different, 10U);
    EXPECT_LE(different, 3U * 32); // in the packet once, in the trailer twice
}

TEST(PdfWriter, documentThatItsTableCannotDescribeIsRefused)
{
    /// Pretends that as much lies in front.
    class FarSink : public MemorySink
    {
    public:
        explicit FarSink(std::uint64_t distance)
            : m_distance(distance)
        {
        }
        std::uint64_t size() const override { return m_distance + MemorySink::size(); }

    private:
        std::uint64_t m_distance;
    };
    const Bytes colour = pictures::jpegOf(pictures::page(320, 240));
    constexpr std::uint64_t kTenDigits = 9'999'999'999;
    FarSink fits(kTenDigits - 100'000);
    PdfWriter writer(fits, {});
    EXPECT_TRUE(writer.addPage(pageOf(colour)));
    EXPECT_TRUE(writer.finish());
    FarSink endsBehind(kTenDigits - colour.size());
    PdfWriter late(endsBehind, {});
    EXPECT_EQ(late.addPage(pageOf(colour)).code(), -EFBIG);
}

TEST_F(PdfWriterTest, secondReaderShowsTheSamePixels)
{
    const Bytes colour = pictures::jpegOf(pictures::page(320, 240));
    const Image lineart = pictures::lineart(320, 240);
    write({pageOf(colour), pageOf(lineart, 72)});
    const std::string out = (m_home.scratch() / "%d.ppm").string();
    const ProgramResult drawn = runProgram({"mutool", "draw", "-q", "-A", "0", "-w", "320", "-h",
                                            "240", "-F", "ppm", "-o", out, m_path});
    ASSERT_EQ(drawn.status, 0) << drawn.errors;
    const auto page = [&](int number) {
        return pictures::fromPnm(
            support::readFile(m_home.scratch() / (std::to_string(number) + ".ppm")));
    };
    EXPECT_LT(pictures::difference(page(1), jpeg::decode(colour).value()), 1.5);
    EXPECT_LT(pictures::difference(page(2), pictures::toRgb(lineart)), 0.5);
}

namespace {

/// A page in layers: gray paper, a picture on the left, red ink by a mask.
PageLayers layersOf(const Image &mask)
{
    const auto layer = [](int width, int height, std::uint8_t red, std::uint8_t other) {
        Image image(width, height, PixelFormat::Rgb24);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                std::uint8_t *pixel = image.row(y) + 3 * x;
                pixel[0] = red;
                pixel[1] = other;
                pixel[2] = other;
            }
        }
        return LayerJpeg{pictures::jpegOf(image), width, height, false};
    };
    PageLayers layers;
    layers.paper = layer(75, 50, 200, 200);
    layers.ink = layer(30, 20, 180, 20);
    layers.mask.data = codePixelsForPdf(mask, 72).value().data;
    layers.pictures.push_back({layer(60, 40, 20, 90), 10, 150});
    return layers;
}

Page pageOf(const PageLayers &layers)
{
    Page page;
    page.layers = &layers;
    page.width = 300;
    page.height = 200;
    page.resolution = 72;
    return page;
}

/// 300 x 200, a black box in the upper right quarter.
Image boxMask()
{
    Image mask(300, 200, PixelFormat::Gray8);
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 300; ++x)
            mask.row(y)[x] = x >= 200 && x < 260 && y >= 20 && y < 60 ? 0 : 255;
    }
    mask.setBilevel(true);
    return mask;
}

} // namespace

TEST_F(PdfWriterTest, layersLieOneAboveTheOther)
{
    const PageLayers layers = layersOf(boxMask());
    write({pageOf(layers)});
    const ProgramResult check = runProgram({"qpdf", "--check", m_path});
    EXPECT_EQ(check.status, 0) << check.output << check.errors;
    const Image shown = rendered(72);
    ASSERT_EQ(shown.width(), 300);
    const auto isAbout = [&](int x, int y, int red, int other) {
        const std::uint8_t *pixel = shown.row(y) + 3 * x;
        EXPECT_NEAR(pixel[0], red, 8) << x << " " << y;
        EXPECT_NEAR(pixel[1], other, 8) << x << " " << y;
    };
    for (const int x : {202, 257}) {
        for (const int y : {22, 57})
            isAbout(x, y, 180, 20); // ink, inside the box's corners
    }
    for (const int x : {12, 67}) {
        for (const int y : {152, 187})
            isAbout(x, y, 20, 90); // picture
    }
    for (const auto &[x, y] : {std::pair(196, 40),
                               {264, 40},
                               {230, 16},
                               {230, 64},
                               {6, 170},
                               {75, 170},
                               {40, 146},
                               {40, 194},
                               {150, 100}})
        isAbout(x, y, 200, 200); // paper
}

TEST_F(PdfWriterTest, inkOfSeveralColoursHasMasksOfItsOwn)
{
    PageLayers layers = layersOf(boxMask());
    // green, in the upper half of a part that overlaps the red box, and the picture beside it
    Image mask(100, 40, PixelFormat::Gray8);
    for (int y = 0; y < 40; ++y)
        std::fill_n(mask.row(y), 100, static_cast<std::uint8_t>(y < 20 ? 0 : 255));
    mask.setBilevel(true);
    InkPatch patch;
    patch.ink = layers.pictures.front().picture;
    patch.mask.data = codePixelsForPdf(mask, 72).value().data;
    patch.left = 170;
    patch.top = 40;
    patch.width = 100;
    patch.height = 40;
    const std::size_t before = layers.size();
    layers.colouredInk.push_back(patch);
    EXPECT_EQ(layers.size(), before + patch.mask.data.size() + patch.ink.jpeg.size());
    write({pageOf(layers)});
    const ProgramResult check = runProgram({"qpdf", "--check", m_path});
    EXPECT_EQ(check.status, 0) << check.output << check.errors;
    const Image shown = rendered(72);
    const auto redAt = [&](int x, int y) { return int{shown.row(y)[3 * x]}; };
    EXPECT_NEAR(redAt(173, 43), 20, 8);
    EXPECT_NEAR(redAt(267, 57), 20, 8);
    EXPECT_NEAR(redAt(230, 50), 180, 8); // the page's ink lies over it
    EXPECT_NEAR(redAt(230, 64), 200, 8);
    EXPECT_NEAR(redAt(166, 50), 200, 8);
    EXPECT_NEAR(redAt(274, 50), 200, 8);
    EXPECT_NEAR(redAt(200, 36), 180, 8);
}

TEST_F(PdfWriterTest, layersNeedNothingThatArchivesForbid)
{
    const PageLayers layers = layersOf(boxMask());
    write({pageOf(layers)});
    const Bytes pdf = pictures::readBytes(m_path);
    const std::string text(pdf.begin(), pdf.end());
    // ISO 19005-2: 6.2.8 (pictures), 6.2.10 (transparency without a blending colour space)
    for (const char *forbidden : {"/Interpolate", "/Alternates", "/OPI", "/SMask", "/JBIG2Globals"})
        EXPECT_EQ(text.find(forbidden), std::string::npos) << forbidden;
    EXPECT_THAT(text, HasSubstr("/ImageMask true /BitsPerComponent 1"));
    EXPECT_THAT(text, HasSubstr("/Mask "));
    EXPECT_THAT(runProgram({"pdfimages", "-list", m_path}).output, HasSubstr("ccitt"));
}

TEST_F(PdfWriterTest, layersWithoutInkArePaperOnly)
{
    PageLayers layers = layersOf(boxMask());
    layers.mask = {};
    layers.ink = {};
    layers.pictures.clear();
    write({pageOf(layers)});
    EXPECT_EQ(runProgram({"qpdf", "--check", m_path}).status, 0);
    EXPECT_NEAR(rendered(72).row(40)[3 * 230], 200, 8);
}
