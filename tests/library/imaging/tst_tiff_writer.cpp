#include "library/output/tiff_writer.h"

#include "library/output/image_loader.h"
#include "library/output/memory_sink.h"
#include "library/output/page_maker.h"
#include "tests/library/imaging/pictures.h"
#include "tests/library/imaging/program.h"
#include "tests/support/temp_home.h"

#include <gmock/gmock.h>

using namespace korv;
using testing::HasSubstr;

namespace {

class TiffWriterTest : public testing::Test
{
protected:
    /// Each picture as the page that the maker makes of it.
    void write(const std::vector<Image> &pictures, std::uint64_t expectedBytes = 0)
    {
        MemorySink sink;
        DocumentOptions options;
        options.created = 1'700'000'000;
        options.pageCount = static_cast<int>(pictures.size());
        options.expectedBytes = expectedBytes;
        TiffWriter writer(sink, options);
        PageMaker maker({95, true});
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
    page.setDpi(200);
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

TEST_F(TiffWriterTest, fileBeyondFourGigabytesGetsWideOffsets)
{
    write({pictures::page(64, 48)}, std::uint64_t{5} << 30);
    EXPECT_EQ(pictures::readBytes(m_path)[2], 43);
    information();
    write({pictures::page(64, 48)});
    EXPECT_EQ(pictures::readBytes(m_path)[2], 42);
}
