// Files that somebody made to do harm, through the same door as all others.
#include "library/export/convert.h"
#include "library/export/image_loader.h"
#include "library/export/page_maker.h"
#include "library/export/pending_document.h"
#include "library/files/memory_sink.h"
#include "library/formats/png_writer.h"
#include "library/jpeg/jpeg_structure.h"
#include "tests/fuzz/png_checksums.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace korv;
namespace fs = std::filesystem;

namespace {

const std::vector<std::string> kFormats = {"jpg", "png", "bmp", "tif", "pdf", "ofd"};

class HostileSourceTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }

    /// Every way in answers with an error, makes no file of its own, and keeps the source.
    void expectRefused(const Bytes &content, std::initializer_list<int> codes)
    {
        const std::string source = path("source.jpg");
        pictures::writeBytes(source, content);
        for (const std::string &format : kFormats) {
            const std::string wanted = path("made." + format);
            const int code = convertImage(source, wanted, 95).code();
            EXPECT_NE(std::find(codes.begin(), codes.end(), code), codes.end())
                << format << ' ' << code;
            EXPECT_FALSE(fs::exists(wanted)) << format;
        }
        EXPECT_EQ(pictures::readBytes(source), content);
    }

    support::TempHome m_home;
};

void put16(Bytes &to, std::size_t at, unsigned value)
{
    to[at] = static_cast<std::uint8_t>(value >> 8);
    to[at + 1] = static_cast<std::uint8_t>(value & 255);
}

Bytes withSize(Bytes jpeg, unsigned width, unsigned height)
{
    const std::size_t factors = jpeg::readStructure(jpeg).value().samplingByte;
    put16(jpeg, factors - 6, height);
    put16(jpeg, factors - 4, width);
    return jpeg;
}

/// A progressive picture whose last scan stands there again and again.
Bytes manyScans(const std::string &plain, int times)
{
    const ProgramResult made = runProgram({"jpegtran", "-progressive", plain});
    EXPECT_EQ(made.status, 0) << made.errors;
    Bytes bomb(made.output.begin(), made.output.end());
    std::size_t last = 0;
    for (std::size_t i = 0; i + 1 < bomb.size(); ++i) {
        if (bomb[i] == 0xFF && bomb[i + 1] == 0xDA)
            last = i;
    }
    const Bytes scan(bomb.begin() + static_cast<std::ptrdiff_t>(last), bomb.end() - 2);
    bomb.resize(bomb.size() - 2);
    for (int i = 0; i < times; ++i)
        bomb.insert(bomb.end(), scan.begin(), scan.end());
    bomb.insert(bomb.end(), {0xFF, 0xD9});
    return bomb;
}

Bytes pngOf(const Image &image)
{
    MemorySink sink;
    EXPECT_TRUE(writePng(image, {100}, sink));
    return sink.take();
}

/// A gray picture of 16 by 16 pixels, uncompressed, in tiles of `side` by `side`.
Bytes tiledTiff(std::uint32_t side, std::uint32_t bits = 8, std::uint32_t samples = 1)
{
    const std::uint32_t entries[][3] = {
        {256, 4, 16},      {257, 4, 16},   {258, 3, bits}, {259, 3, 1}, {262, 3, 1},
        {277, 3, samples}, {322, 4, side}, {323, 4, side}, {324, 4, 0}, {325, 4, side * side}};
    Bytes tiff = {'I', 'I', '*', 0, 8, 0, 0, 0, static_cast<std::uint8_t>(std::size(entries)), 0};
    const auto put = [&](std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i)
            tiff.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    };
    const auto pixelsAt = static_cast<std::uint32_t>(tiff.size() + 12 * std::size(entries) + 4);
    for (const auto &[tag, type, value] : entries) {
        put(tag, 2);
        put(type, 2);
        put(1, 4);
        put(tag == 324 ? pixelsAt : value, 4);
    }
    put(0, 4);
    tiff.resize(tiff.size() + 256 * 256, 200);
    return tiff;
}

/// Bytes by which the process has grown at most while `work` ran.
template <typename Work> long growth(Work &&work)
{
    rusage before{};
    rusage after{};
    ::getrusage(RUSAGE_SELF, &before);
    work();
    ::getrusage(RUSAGE_SELF, &after);
    return (after.ru_maxrss - before.ru_maxrss) * 1024;
}

constexpr long kSmall = 200'000'000;

} // namespace

TEST_F(HostileSourceTest, pngChunkThatClaimsAGigabyteTakesNoMemory)
{
    Bytes png = pngOf(pictures::page(16, 16));
    const Bytes chunk = {0x40, 0, 0, 0, 's', 'P', 'L', 'T', 'a', 0, 8, 0};
    png.insert(png.begin() + 33, chunk.begin(), chunk.end());
    EXPECT_LT(growth([&] { EXPECT_EQ(loadImage(png).code(), -EBADMSG); }), kSmall);
}

TEST_F(HostileSourceTest, pngThatIsTooShortForItsKindOfPixelsTakesNoMemory)
{
    // bilevel pixels could be that many, those of 24 bits cannot
    Bytes png = pngOf(pictures::page(16, 16));
    ASSERT_EQ(fuzz::withRightChecksums(png), png);
    for (const std::size_t at : {std::size_t{18}, std::size_t{22}})
        put16(png, at, 18'000);
    png.resize(png.size() + 60'000);
    png = fuzz::withRightChecksums(png);
    EXPECT_LT(growth([&] { EXPECT_EQ(loadImage(png).code(), -EBADMSG); }), kSmall);
}

TEST_F(HostileSourceTest, pngSidesBeyondAllNumbersAreTooLarge)
{
    Bytes png = pngOf(pictures::page(16, 16));
    std::fill_n(png.begin() + 16, 8, std::uint8_t{0xFF});
    expectRefused(png, {-EFBIG, -EBADMSG});
    pictures::writeBytes(path("source.png"), png);
    Mutex largePictures;
    PageOptions options;
    options.largePictures = &largePictures;
    PageMaker maker(options);
    EXPECT_EQ(maker.fromFile(path("source.png")).code(), -EFBIG);
}

TEST_F(HostileSourceTest, tiffTileFarLargerThanThePictureTakesNoMemory)
{
    const Result<Image> usual = loadImage(tiledTiff(256));
    ASSERT_TRUE(usual) << usual.error().text;
    EXPECT_EQ(usual.value().row(15)[15], 200);
    EXPECT_LT(growth([&] { EXPECT_EQ(loadImage(tiledTiff(19'200)).code(), -EBADMSG); }), kSmall);
}

TEST_F(HostileSourceTest, tiffOfAbsurdPixelsIsRefused)
{
    EXPECT_EQ(loadImage(tiledTiff(256, 65'535, 65'535)).code(), -EBADMSG);
}

TEST_F(HostileSourceTest, jpegThatLiesAboutItsSize)
{
    const Bytes jpeg = pictures::jpegOf(pictures::page(64, 48));
    expectRefused(withSize(jpeg, 65'535, 10), {-EFBIG});
    expectRefused(withSize(jpeg, 30'000, 30'000), {-EFBIG});
    // within the limits, but the file is far too short for it; not decoded, it would become a page
    const std::string source = path("source.jpg");
    pictures::writeBytes(source, withSize(jpeg, 20'000, 20'000));
    for (const std::string format : {"jpg", "png", "bmp", "tif", "pdf", "ofd"})
        EXPECT_EQ(convertImage(source, path("made." + format), 95).code(), -EBADMSG) << format;
}

TEST_F(HostileSourceTest, arithmeticJpegThatLiesAboutItsSizeTakesNoMemory)
{
    const std::string plain = path("plain.jpg");
    pictures::writeBytes(plain, pictures::jpegOf(pictures::page(64, 48)));
    const ProgramResult made = runProgram({"jpegtran", "-arithmetic", plain});
    ASSERT_EQ(made.status, 0) << made.errors;
    const Bytes jpeg(made.output.begin(), made.output.end());
    EXPECT_TRUE(loadImage(jpeg));
    const Bytes lie = withSize(jpeg, 20'000, 20'000);
    EXPECT_LT(growth([&] { EXPECT_EQ(loadImage(lie).code(), -EBADMSG); }), kSmall);
}

TEST_F(HostileSourceTest, jpegOfEndlessScansBecomesNoPage)
{
    const std::string plain = path("plain.jpg");
    pictures::writeBytes(plain, pictures::jpegOf(pictures::page(64, 64)));
    expectRefused(manyScans(plain, 3000), {-EBADMSG});
}

TEST_F(HostileSourceTest, nothingAndNearlyNothing)
{
    for (const Bytes &content :
         {Bytes(), Bytes(1, 0xFF), Bytes{0xFF, 0xD8}, Bytes{0xFF, 0xD8, 0xFF},
          Bytes{0xFF, 0xD8, 0xFF, 0xD9}, Bytes{'B', 'M'}, Bytes{'I', 'I', '*', 0},
          Bytes{0x89, 'P', 'N', 'G', 13, 10, 26, 10}})
        expectRefused(content, {-EBADMSG});
}

TEST_F(HostileSourceTest, tiffWhoseDirectoriesRunInACircle)
{
    Bytes tiff = {'I', 'I', '*', 0, 8, 0, 0, 0, 0, 0, 8, 0, 0, 0};
    expectRefused(tiff, {-EBADMSG});
}

TEST_F(HostileSourceTest, specialFilesAreRefusedAtOnceAndNotKept)
{
    ASSERT_EQ(::mkfifo(path("fifo.jpg").c_str(), 0600), 0);
    PendingDocument document;
    for (const std::string &source :
         {path("fifo.jpg"), std::string("/dev/zero"), std::string("/dev/full")}) {
        EXPECT_EQ(convertImage(source, path("a.pdf"), 95).code(), -EINVAL) << source;
        EXPECT_EQ(document.add(source).code(), -EINVAL) << source;
    }
    EXPECT_EQ(document.combine(path("a.pdf"), 95).code(), -ENODATA);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_home.scratch()), {}), 1);
}

TEST_F(HostileSourceTest, linkIsReadAndWhatItLeadsToIsKept)
{
    const Bytes jpeg = pictures::jpegOf(pictures::page(64, 48));
    pictures::writeBytes(path("real"), jpeg);
    const std::string link = path(".t-preview-0001.jpg");
    fs::create_symlink("real", link);
    EXPECT_TRUE(convertImage(link, path("a.jpg"), 95));
    EXPECT_EQ(pictures::readBytes(path("a.jpg")), jpeg);
    EXPECT_FALSE(fs::is_symlink(path("a.jpg")));
    EXPECT_EQ(convertImage(link, path("none/b.jpg"), 95).code(), -ENOENT);
    fs::remove(link);
    EXPECT_FALSE(fs::is_symlink(path("b-rescued-0001.jpg")));
    EXPECT_EQ(pictures::readBytes(path("b-rescued-0001.jpg")), jpeg);
    fs::create_symlink("circle", path("circle"));
    EXPECT_EQ(convertImage(path("circle"), path("c.jpg"), 95).code(), -ELOOP);
}

TEST_F(HostileSourceTest, strangeNamesAreKeptUnderTheirBytes)
{
    const Bytes broken(100, 'x');
    for (const std::string name :
         {"a b", "it's \"x\"", "new\nline", "\xFF\xFE", "$(touch x)", "-o", "..."}) {
        pictures::writeBytes(path(".t-preview-0001.jpg"), broken);
        testing::internal::CaptureStderr();
        EXPECT_EQ(convertImage(path(".t-preview-0001.jpg"), path(name + ".pdf"), 95).code(),
                  -EBADMSG);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(pictures::readBytes(path(name + "-rescued-0001.jpg")), broken) << name;
    }
}
