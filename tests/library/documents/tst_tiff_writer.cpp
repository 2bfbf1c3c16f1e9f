#include "library/documents/tiff_writer.h"

#include "library/documents/pixel_coders.h"
#include "library/export/image_loader.h"
#include "library/export/page_maker.h"
#include "library/files/memory_sink.h"
#include "library/formats/tiff/tiff_directories.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/patterns.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <iterator>

using namespace korv;
using testing::HasSubstr;

namespace {

constexpr std::uint64_t kAnySize = ~std::uint64_t{0};
constexpr int kClassicVersion = 42;
constexpr int kBigVersion = 43;

/// What tiffinfo says, without the lines that tell where things lie.
std::string withoutOffsets(const std::string &information)
{
    return support::withoutMatches(information, "TIFF Directory at offset.*");
}

class TiffWriterTest : public testing::Test
{
protected:
    /// Each picture as the page that the maker makes of it.
    void write(const std::vector<Image> &pictures, std::uint64_t largest = kAnySize,
               int statedPages = 0)
    {
        MemorySink sink;
        DocumentOptions options;
        options.created = 1'700'000'000;
        options.pageCount = statedPages > 0 ? statedPages : static_cast<int>(pictures.size());
        TiffWriter writer(sink, options, largest);
        PageMaker maker({95, true, codePixelsForTiff, {}, nullptr});
        for (const Image &picture : pictures) {
            const Result<Page> page = maker.fromImage(picture);
            ASSERT_TRUE(page);
            const Result<void> added = writer.addPage(page.value());
            ASSERT_TRUE(added) << added.error().text;
        }
        const Result<void> finished = writer.finish();
        ASSERT_TRUE(finished) << finished.error().text;
        pictures::writeBytes(m_path, sink.bytes());
    }
    int version() const { return pictures::readBytes(m_path)[2]; }
    std::string information() const
    {
        const ProgramResult result = runProgram({"tiffinfo", m_path});
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.errors.empty()) << result.errors;
        return result.output;
    }
    /// Page n, unpacked by libtiff's tools to plain pixels and read by our loader.
    Image unpacked(int page) const
    {
        const std::string plain = (m_home.scratch() / "plain.tif").string();
        const ProgramResult result =
            runProgram({"tiff2rgba", "-c", "none", page == 0 ? m_path : extracted(page), plain});
        EXPECT_EQ(result.status, 0) << result.errors;
        return loadImage(pictures::readBytes(plain)).value();
    }
    std::string extracted(int page) const
    {
        const std::string path = (m_home.scratch() / "page.tif").string();
        const ProgramResult result =
            runProgram({"tiffcp", "-c", "none", m_path + "," + std::to_string(page), path});
        EXPECT_EQ(result.status, 0) << result.errors;
        return path;
    }

    support::TempHome m_home;
    std::string m_path = (m_home.scratch() / "a.tif").string();
};

} // namespace

TEST_F(TiffWriterTest, pagesCarryTheirTags)
{
    Image page = pictures::page(320, 240);
    page.setResolution(200);
    write({page, pictures::numbered(100, 140, PixelFormat::Gray8), pictures::lineart(300, 200)});
    const std::string text = information();
    EXPECT_THAT(text, HasSubstr("TIFF directory 2"));
    EXPECT_THAT(text, HasSubstr("Page Number: 0-3"));
    EXPECT_THAT(text, HasSubstr("Page Number: 2-3"));
    EXPECT_THAT(text, HasSubstr("Resolution: 200, 200 pixels/inch"));
    EXPECT_THAT(text, HasSubstr("Compression Scheme: JPEG"));
    EXPECT_THAT(text, HasSubstr("Photometric Interpretation: YCbCr"));
    EXPECT_THAT(text, HasSubstr("Photometric Interpretation: min-is-black"));
    EXPECT_THAT(text, HasSubstr("Compression Scheme: CCITT Group 4"));
    EXPECT_THAT(text, HasSubstr("Photometric Interpretation: min-is-white"));
    EXPECT_THAT(text, HasSubstr("Rows/Strip: 240"));
    EXPECT_EQ(text.find("JPEG Tables"), std::string::npos);
}

TEST_F(TiffWriterTest, independentProgramReadsTheColourPage)
{
    const Image page = pictures::page(320, 240);
    write({page});
    EXPECT_LT(pictures::difference(unpacked(0), page), 3);
}

TEST_F(TiffWriterTest, jpegBytesAreInTheFileAsTheyAre)
{
    const Image page = pictures::page(320, 240);
    write({page});
    const Bytes file = pictures::readBytes(m_path);
    // the maker encodes without a density, and so does jpegOf()
    const Bytes jpeg = pictures::jpegOf(page);
    EXPECT_NE(std::search(file.begin(), file.end(), jpeg.begin(), jpeg.end()), file.end());
}

TEST_F(TiffWriterTest, grayAndLineartPagesComeBack)
{
    const Image gray = [] {
        Image image(90, 60, PixelFormat::Gray8);
        for (int y = 0; y < 60; ++y) {
            for (int x = 0; x < 90; ++x)
                image.row(y)[x] = static_cast<std::uint8_t>(2 * x + y);
        }
        return image;
    }();
    const Image lineart = pictures::lineart(301, 203);
    write({gray, lineart});
    const Image first = loadImage(pictures::readBytes(extracted(0))).value();
    EXPECT_LT(pictures::difference(first, gray), 2);
    const Image second = loadImage(pictures::readBytes(extracted(1))).value();
    EXPECT_TRUE(second.isBilevel());
    EXPECT_TRUE(pictures::same(second, lineart));
}

TEST_F(TiffWriterTest, fileThatOutgrowsNarrowOffsetsGoesOnWithWideOnes)
{
    Image colour = pictures::page(320, 240);
    colour.setResolution(200);
    const Image gray = pictures::numbered(100, 140, PixelFormat::Gray8);
    const Image lineart = pictures::lineart(301, 203);
    const std::vector<Image> pages = {colour, gray, lineart, colour, lineart};
    for (std::size_t whole = 0; whole < pages.size(); ++whole) {
        const auto end = pages.begin() + static_cast<std::ptrdiff_t>(whole);
        // nothing more than these pages has room
        std::uint64_t largest = 0;
        if (whole > 0) {
            write({pages.begin(), end}, kAnySize, static_cast<int>(pages.size()));
            largest = pictures::readBytes(m_path).size();
        }
        write(pages, largest);
        EXPECT_EQ(version(), kBigVersion);
        const std::string wide = information();
        EXPECT_LT(pictures::difference(unpacked(0), colour), 3);
        EXPECT_TRUE(pictures::same(loadImage(pictures::readBytes(extracted(2))).value(), lineart));
        EXPECT_TRUE(pictures::same(loadImage(pictures::readBytes(extracted(4))).value(), lineart));
        write(pages);
        EXPECT_EQ(version(), kClassicVersion);
        EXPECT_EQ(withoutOffsets(wide), withoutOffsets(information())) << whole;
    }
}

TEST_F(TiffWriterTest, wideFileStatesTheNumberOfPagesThatCame)
{
    write({pictures::page(64, 48), pictures::page(64, 48), pictures::page(64, 48)}, 2000, 5);
    EXPECT_EQ(version(), kBigVersion);
    EXPECT_THAT(information(), HasSubstr("Page Number: 0-3"));
    EXPECT_THAT(information(), HasSubstr("Page Number: 2-3"));
}

TEST(WidenTiff, whatIsNoTiffIsRefused)
{
    const std::vector<Bytes> files = {
        {},
        {'I', 'I', 42, 0, 8, 0, 0, 0},
        // no directory
        {'I', 'I', 42, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        // a directory behind the end
        {'I', 'I', 42, 0, 99, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        // one entry, cut off
        {'I', 'I', 42, 0, 14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0},
        // wide already
        {'I', 'I', 43, 0, 8, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0},
    };
    for (const Bytes &file : files) {
        MemorySink sink;
        ASSERT_TRUE(sink.write(ByteView(file)));
        EXPECT_EQ(widenTiff(sink).code(), -EIO) << file.size();
    }
}

TEST(WidenTiff, valuesKeepTheirPlacesOrMoveIntoTheEntry)
{
    MemorySink sink;
    Bytes file = {'I', 'I', 42, 0, 16, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8};
    const std::uint8_t directory[] = {
        4,    0, 0x0A, 1, 3, 0, 1, 0, 0,  0, 0x34, 0x12, 0, 0, // a 16-bit number
        0x1A, 1, 5,    0, 1, 0, 0, 0, 8,  0, 0,    0, // a fraction, at 8
        0x31, 1, 2,    0, 9, 0, 0, 0, 7,  0, 0,    0, // nine letters, at 7
        0x32, 1, 2,    0, 5, 0, 0, 0, 11, 0, 0,    0, // five letters, at 11
        0,    0, 0,    0};
    file.insert(file.end(), std::begin(directory), std::end(directory));
    ASSERT_TRUE(sink.write(ByteView(file)));
    ASSERT_TRUE(widenTiff(sink));
    const Bytes head = {'I', 'I', 43, 0, 8, 0, 0, 0, 70, 0, 0, 0, 0, 0, 0, 0};
    const Bytes wide = {4,    0,    0, 0, 0, 0, 0, 0, 0x0A, 1, 3, 0, 1, 0, 0, 0, 0, 0, 0, 0,
                        0x34, 0x12, 0, 0, 0, 0, 0, 0, 0x1A, 1, 5, 0, 1, 0, 0, 0, 0, 0, 0, 0,
                        1,    2,    3, 4, 5, 6, 7, 8, 0x31, 1, 2, 0, 9, 0, 0, 0, 0, 0, 0, 0,
                        7,    0,    0, 0, 0, 0, 0, 0, 0x32, 1, 2, 0, 5, 0, 0, 0, 0, 0, 0, 0,
                        4,    5,    6, 7, 8, 0, 0, 0, 0,    0, 0, 0, 0, 0, 0, 0};
    const Bytes &made = sink.bytes();
    ASSERT_EQ(made.size(), 70 + wide.size());
    EXPECT_TRUE(std::equal(head.begin(), head.end(), made.begin()));
    EXPECT_TRUE(std::equal(wide.begin(), wide.end(), made.begin() + 70));
}
