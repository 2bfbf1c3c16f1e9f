#include "library/export/convert.h"

#include "library/export/image_loader.h"
#include "library/files/source_file.h"
#include "library/image/colour.h"
#include "library/jpeg/jpeg_structure.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace korv;
namespace fs = std::filesystem;

namespace {

class ConvertTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    std::string source(const Bytes &content) const
    {
        pictures::writeBytes(path(".t-preview-0001.jpg"), content);
        return path(".t-preview-0001.jpg");
    }
    int entries() const
    {
        return static_cast<int>(std::distance(fs::directory_iterator(m_home.scratch()), {}));
    }

    support::TempHome m_home;
    Bytes m_jpeg = pictures::jpegOf(pictures::page(160, 120));
};

} // namespace

TEST_F(ConvertTest, extensionInAnyCaseChoosesTheFormat)
{
    const std::vector<std::pair<std::string, std::string>> magics = {
        {"a.jpg", "\xFF\xD8\xFF"}, {"b.JPEG", "\xFF\xD8\xFF"}, {"c.Png", "\x89PNG"},
        {"d.BMP", "BM"},           {"e.tif", "II*"},           {"f.TIFF", "II*"},
        {"g.pdf", "%PDF-1.7"},     {"h.OFD", "PK\3\4"},
    };
    const std::string from = source(m_jpeg);
    for (const auto &[name, magic] : magics) {
        const Result<void> converted = convertImage(from, path(name), 95);
        ASSERT_TRUE(converted) << converted.error().text;
        EXPECT_EQ(support::readFile(path(name)).substr(0, magic.size()), magic) << name;
    }
    EXPECT_EQ(entries(), 1 + static_cast<int>(magics.size()));
}

TEST_F(ConvertTest, independentProgramsSeeTheSamePixels)
{
    const Image expected = jpeg::decode(m_jpeg).value();
    const std::string from = source(m_jpeg);
    ASSERT_TRUE(convertImage(from, path("a.jpg"), 95));
    const ProgramResult jpg = runProgram({"djpeg", "-ppm", path("a.jpg")});
    ASSERT_EQ(jpg.status, 0) << jpg.errors;
    EXPECT_TRUE(pictures::same(pictures::fromPnm(jpg.output), expected));
    for (const std::string name : {"a.png", "a.bmp", "a.tif"}) {
        ASSERT_TRUE(convertImage(from, path(name), 95));
        const ProgramResult read = runProgram({"convert", path(name), "-depth", "8", "ppm:-"});
        ASSERT_EQ(read.status, 0) << name << read.errors;
        EXPECT_LT(pictures::difference(pictures::fromPnm(read.output), expected), 0.7) << name;
    }
    ASSERT_TRUE(convertImage(from, path("a.pdf"), 95));
    EXPECT_EQ(runProgram({"qpdf", "--check", path("a.pdf")}).status, 0);
    ASSERT_TRUE(convertImage(from, path("a.ofd"), 95));
    EXPECT_EQ(runProgram({"unzip", "-tqq", path("a.ofd")}).status, 0);
}

TEST_F(ConvertTest, jpegToJpegKeepsTheBytesUnlessSomethingMustChange)
{
    const std::string from = source(m_jpeg);
    ASSERT_TRUE(convertImage(from, path("a.jpg"), 95));
    EXPECT_EQ(pictures::readBytes(path("a.jpg")), m_jpeg);
    ASSERT_TRUE(convertImage(from, path("b.jpg"), 50));
    EXPECT_LT(fs::file_size(path("b.jpg")), m_jpeg.size());
}

TEST_F(ConvertTest, cleanEvensOutTheLightInEveryFormat)
{
    Image shaded(600, 800, PixelFormat::Rgb24);
    for (int y = 0; y < 800; ++y)
        std::fill_n(shaded.row(y), 3 * 600, static_cast<std::uint8_t>(220 * (1 - 0.0005 * y)));
    DocumentSettings settings;
    settings.clean = true;
    const auto darkening = [&](const std::string &file) {
        Bytes content;
        EXPECT_TRUE(readSourceFile(file, content)) << file;
        const Image image = loadImage(content).value();
        const auto brightest = [&](int from) {
            int level = 0;
            for (int x = 0; x < 600 * image.channels(); ++x)
                level = std::max<int>(level, image.row(from)[x]);
            return level;
        };
        return brightest(10) - brightest(780);
    };
    const Bytes jpeg = pictures::jpegOf(shaded);
    for (const std::string name : {"a.jpg", "a.png", "a.bmp", "a.tif"}) {
        ASSERT_TRUE(convertImage(source(jpeg), path("plain-" + name), 95));
        EXPECT_GT(darkening(path("plain-" + name)), 60) << name;
        ASSERT_TRUE(convertImage(source(jpeg), path("clean-" + name), 95, settings));
        EXPECT_LT(std::abs(darkening(path("clean-" + name))), 15) << name;
    }
    ASSERT_TRUE(convertImage(path("plain-a.png"), path("clean.jpg"), 95, settings));
    EXPECT_LT(std::abs(darkening(path("clean.jpg"))), 15);
}

TEST_F(ConvertTest, everySourceFormatIsRead)
{
    const Image expected = jpeg::decode(m_jpeg).value();
    ASSERT_TRUE(convertImage(source(m_jpeg), path("a.png"), 95));
    for (const auto &[from, to] :
         std::vector<std::pair<std::string, std::string>>{{"a.png", "b.bmp"}, {"b.bmp", "c.png"}}) {
        ASSERT_TRUE(convertImage(path(from), path(to), 95));
        EXPECT_TRUE(pictures::same(loadImage(pictures::readBytes(path(to))).value(), expected));
    }
    ASSERT_TRUE(convertImage(path("c.png"), path("d.tif"), 100));
    ASSERT_TRUE(convertImage(path("d.tif"), path("e.jpg"), 100));
    EXPECT_LT(pictures::difference(loadImage(pictures::readBytes(path("e.jpg"))).value(), expected),
              3);
}

TEST_F(ConvertTest, resolutionIsTheSameInEveryFormat)
{
    Image page = pictures::page(300, 150);
    page.setResolution(120);
    const std::string from = source(pictures::jpegOf(page));
    for (const std::string name : {"a.png", "a.bmp", "a.tif", "a.jpg"}) {
        ASSERT_TRUE(convertImage(from, path(name), 95));
        EXPECT_NEAR(loadImage(pictures::readBytes(path(name))).value().resolution().x, 120, 0.1)
            << name;
    }
    ASSERT_TRUE(convertImage(from, path("a.pdf"), 95));
    EXPECT_THAT(runProgram({"pdfinfo", path("a.pdf")}).output, testing::HasSubstr("180 x 90 pts"));
}

TEST_F(ConvertTest, unknownExtensionWritesNothing)
{
    const std::string from = source(m_jpeg);
    EXPECT_EQ(convertImage(from, path("a.gif"), 95).code(), -EINVAL);
    EXPECT_EQ(convertImage(from, path("a"), 95).code(), -EINVAL);
    EXPECT_EQ(entries(), 1);
}

TEST_F(ConvertTest, unreadableSourceIsKeptBesideTheDestination)
{
    const std::string broken = path(".t-preview-0001.jpg");
    const ByteView half = ByteView(m_jpeg).first(m_jpeg.size() - 300);
    pictures::writeBytes(broken, half);
    int number = 0;
    for (const std::string name : {"a.jpg", "a.png", "a.bmp", "a.tif", "a.pdf", "a.ofd"}) {
        EXPECT_EQ(convertImage(broken, path(name), 95).code(), -EBADMSG) << name;
        EXPECT_FALSE(fs::exists(path(name)));
        const std::string kept = path("a-rescued-000" + std::to_string(++number) + ".jpg");
        EXPECT_EQ(pictures::readBytes(kept), Bytes(half.begin(), half.end())) << kept;
        EXPECT_EQ(fs::hard_link_count(kept), 1U + static_cast<unsigned>(number));
    }
    EXPECT_EQ(entries(), 1 + 6);
}

TEST_F(ConvertTest, sourceIsKeptBesideItselfWhenTheDestinationsFolderIsGone)
{
    const std::string from = source(m_jpeg);
    EXPECT_EQ(convertImage(from, path("none/a.jpg"), 95).code(), -ENOENT);
    EXPECT_EQ(pictures::readBytes(path("a-rescued-0001.jpg")), m_jpeg);
    EXPECT_EQ(entries(), 2);
}

TEST_F(ConvertTest, onlyFilesAreKept)
{
    EXPECT_EQ(convertImage(path("none.jpg"), path("a.jpg"), 95).code(), -ENOENT);
    EXPECT_EQ(convertImage(m_home.scratch().string(), path("a.pdf"), 95).code(), -EISDIR);
    EXPECT_EQ(convertImage("/dev/zero", path("a.pdf"), 95).code(), -EINVAL);
    EXPECT_EQ(entries(), 0);
}

TEST_F(ConvertTest, existingFileIsNeverTouched)
{
    const std::string from = source(m_jpeg);
    for (const std::string extension : {"jpg", "png", "bmp", "tif", "pdf", "ofd"}) {
        const std::string wanted = path("0001." + extension);
        pictures::writeBytes(wanted, Bytes(10, 1));
        const fs::file_time_type time = fs::last_write_time(wanted);
        testing::internal::CaptureStderr();
        ASSERT_TRUE(convertImage(from, wanted, 95));
        const std::string chosen = path("0001 (1)." + extension);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(chosen));
        EXPECT_EQ(pictures::readBytes(wanted), Bytes(10, 1));
        EXPECT_EQ(fs::last_write_time(wanted), time);
        EXPECT_GT(fs::file_size(chosen), 100U);
    }
    EXPECT_EQ(entries(), 1 + 2 * 6);
}

TEST_F(ConvertTest, pictureConvertedOntoItselfStays)
{
    pictures::writeBytes(path("a.jpg"), m_jpeg);
    ASSERT_TRUE(convertImage(path("a.jpg"), path("a.jpg"), 40));
    EXPECT_EQ(pictures::readBytes(path("a.jpg")), m_jpeg);
    EXPECT_TRUE(loadImage(pictures::readBytes(path("a (1).jpg"))));
}

TEST_F(ConvertTest, namesAreBytes)
{
    const std::string from = source(m_jpeg);
    for (const std::string name : {"a b.pdf", "it's \"x\".pdf", "new\nline.pdf", "\xFF\xFE.pdf",
                                   "$(touch x).pdf", "\xE9\xA1\xB5.pdf", "-o.pdf"}) {
        ASSERT_TRUE(convertImage(from, path(name), 95)) << name;
        EXPECT_EQ(runProgram({"qpdf", "--check", path(name)}).status, 0) << name;
    }
}

TEST_F(ConvertTest, pixelsAreWrittenInEveryFormat)
{
    const Image pixels = pictures::page(100, 80);
    for (const std::string name : {"a.jpg", "a.png", "a.bmp", "a.tif", "a.pdf", "a.ofd"})
        ASSERT_TRUE(writeImage(pixels, path(name), 95)) << name;
    EXPECT_TRUE(pictures::same(loadImage(pictures::readBytes(path("a.png"))).value(), pixels));
    EXPECT_EQ(writeImage(pixels, path("a.xyz"), 95).code(), -EINVAL);
}

TEST_F(ConvertTest, pngOfAPictureThatBreaksHalfwayIsNotMade)
{
    // whole by its markers, but the data in between end too early
    Bytes jpeg = pictures::jpegOf(pictures::page(640, 480));
    const std::size_t scan = jpeg::readStructure(jpeg).value().scanStart;
    const std::size_t middle = scan + (jpeg.size() - scan) / 2;
    jpeg.erase(jpeg.begin() + static_cast<std::ptrdiff_t>(middle), jpeg.end() - 2);
    const std::string from = source(jpeg);
    testing::internal::CaptureStderr();
    EXPECT_EQ(convertImage(from, path("a.png"), 95).code(), -EBADMSG);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(fs::exists(path("a.png")));
    EXPECT_EQ(pictures::readBytes(path("a-rescued-0001.jpg")), jpeg);
}

TEST_F(ConvertTest, pngHoldsEveryRowOfSmallAndLargePictures)
{
    for (const auto &[width, height] :
         std::vector<std::pair<int, int>>{{1, 1}, {7, 15}, {40, 16}, {33, 17}, {900, 1400}}) {
        for (const bool gray : {false, true}) {
            Image image = pictures::page(width, height);
            const Bytes jpeg = pictures::jpegOf(gray ? toGray(image) : image);
            const std::string name =
                path(std::to_string(width) + (gray ? "-gray.png" : "-colour.png"));
            ASSERT_TRUE(convertImage(source(jpeg), name, 95));
            EXPECT_TRUE(pictures::same(loadImage(pictures::readBytes(name)).value(),
                                       jpeg::decode(jpeg).value()))
                << name;
        }
    }
}
