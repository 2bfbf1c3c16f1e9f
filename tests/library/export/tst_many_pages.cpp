// Files of many pages as sources, and pages that cannot be had between others.
#include "library/documents/pixel_coders.h"
#include "library/documents/tiff_writer.h"
#include "library/export/convert.h"
#include "library/export/image_loader.h"
#include "library/export/page_maker.h"
#include "library/export/pending_document.h"
#include "library/files/memory_sink.h"
#include "library/formats/tiff/tiff_pages.h"
#include "library/jpeg/jpeg_structure.h"
#include "tests/library/support/guarded_buffer.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>

using namespace korv;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

/// A TIFF by hand: directories of 8-bit gray pages of 8 x 8 pixels, little-endian.
class HandMadeTiff
{
public:
    struct Page
    {
        std::uint8_t level = 0;
        int subfileType = 2; ///< a page of several
        int width = 8;
        int bits = 8;
    };

    HandMadeTiff()
    {
        m_bytes = {'I', 'I', 42, 0, 0, 0, 0, 0};
        m_link = 4;
    }
    std::size_t add(const Page &page)
    {
        const std::size_t pixels = m_bytes.size();
        m_bytes.resize(pixels + 64, page.level);
        const std::size_t at = m_bytes.size();
        linkTo(at);
        const std::size_t entries[][2] = {{254, static_cast<std::size_t>(page.subfileType)},
                                          {256, static_cast<std::size_t>(page.width)},
                                          {257, 8},
                                          {258, static_cast<std::size_t>(page.bits)},
                                          {259, 1},
                                          {262, 1},
                                          {273, pixels},
                                          {277, 1},
                                          {278, 8},
                                          {279, 64}};
        put(std::size(entries), 2);
        for (const auto &[tag, value] : entries) {
            put(tag, 2);
            put(4, 2);
            put(1, 4);
            put(value, 4);
        }
        m_link = m_bytes.size();
        put(0, 4);
        return at;
    }
    void linkTo(std::size_t offset)
    {
        for (std::size_t i = 0; i < 4; ++i)
            m_bytes[m_link + i] = static_cast<std::uint8_t>(offset >> 8 * i);
    }
    const Bytes &bytes() const { return m_bytes; }

private:
    void put(std::size_t value, int size)
    {
        for (int i = 0; i < size; ++i)
            m_bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    }

    Bytes m_bytes;
    std::size_t m_link = 0;
};

class ManyPagesTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    void makeJpeg(const std::string &name, int width)
    {
        pictures::writeBytes(path(name), pictures::jpegOf(pictures::page(width, 60)));
    }
    /// A TIFF of JPEG pages, each a few pixels wider than the one before, by an independent program.
    void makeTiff(const std::string &name, int first, int count,
                  const std::vector<std::string> &how)
    {
        std::vector<std::string> command = {"convert"};
        for (int i = 0; i < count; ++i) {
            makeJpeg("t" + std::to_string(first + i), first + i);
            command.push_back("jpeg:" + path("t" + std::to_string(first + i)));
        }
        command.insert(command.end(), how.begin(), how.end());
        command.push_back(path(name));
        const ProgramResult made = runProgram(command);
        ASSERT_EQ(made.status, 0) << made.errors;
        for (int i = 0; i < count; ++i)
            fs::remove(path("t" + std::to_string(first + i)));
    }
    std::vector<int> widthsIn(const std::string &name) const
    {
        std::vector<int> widths;
        if (fs::path(name).extension() != ".pdf" && fs::path(name).extension() != ".ofd") {
            std::istringstream lines(runProgram({"tiffinfo", path(name)}).output);
            for (std::string line; std::getline(lines, line);) {
                const std::size_t at = line.find("Image Width: ");
                if (at != std::string::npos)
                    widths.push_back(std::stoi(line.substr(at + 13)));
            }
        } else if (fs::path(name).extension() == ".pdf") {
            std::istringstream lines(runProgram({"pdfimages", "-list", path(name)}).output);
            for (std::string line; std::getline(lines, line);) {
                if (line.find(" image ") != std::string::npos)
                    widths.push_back(std::stoi(line.substr(17)));
            }
        } else {
            for (int i = 0;; ++i) {
                const std::string entry = "Doc_0/Res/image_" + std::to_string(i) + ".";
                ProgramResult picture = runProgram({"unzip", "-p", path(name), entry + "jpg"});
                if (picture.status != 0)
                    break;
                const ByteView jpeg(picture.output.data(), picture.output.size());
                widths.push_back(jpeg::readInfo(jpeg).value().width);
            }
        }
        return widths;
    }
    std::string combine(const std::vector<std::string> &sources, const std::string &name, int code)
    {
        PendingDocument document;
        for (const std::string &source : sources)
            EXPECT_EQ(document.add(path(source)).code(), 0) << source;
        testing::internal::CaptureStderr();
        EXPECT_EQ(document.combine(path(name), 95).code(), code) << name;
        return testing::internal::GetCapturedStderr();
    }

    support::TempHome m_home;
};

} // namespace

TEST_F(ManyPagesTest, tiffOfManyPagesGivesThemAll)
{
    makeTiff("three.tif", 101, 3, {"-compress", "LZW"});
    makeJpeg("last.jpg", 110);
    for (const std::string name : {"a.pdf", "a.ofd", "a.tif"}) {
        EXPECT_EQ(combine({"three.tif", "last.jpg", "three.tif"}, name, 0), "");
        EXPECT_EQ(widthsIn(name), (std::vector<int>{101, 102, 103, 110, 101, 102, 103})) << name;
    }
    EXPECT_THAT(runProgram({"tiffinfo", path("a.tif")}).output, HasSubstr("Page Number: 6-7"));
    for (const std::string name : {"b.pdf", "b.ofd", "b.tiff"}) {
        ASSERT_TRUE(convertImage(path("three.tif"), path(name), 95));
        EXPECT_EQ(widthsIn(name), (std::vector<int>{101, 102, 103})) << name;
    }
}

TEST_F(ManyPagesTest, everyLayoutOfATiffIsFollowed)
{
    makeTiff("little.tif", 50, 4, {"-endian", "LSB"});
    makeTiff("big.tif", 50, 4, {"-endian", "MSB", "-compress", "Zip"});
    ASSERT_EQ(runProgram({"tiffcp", "-8", path("little.tif"), path("wide.tif")}).status, 0);
    ASSERT_EQ(runProgram({"tiffcp", "-8", "-B", path("little.tif"), path("widebig.tif")}).status,
              0);
    for (const std::string name : {"little.tif", "big.tif", "wide.tif", "widebig.tif"}) {
        ASSERT_TRUE(convertImage(path(name), path(name + ".pdf"), 95)) << name;
        EXPECT_EQ(widthsIn(name + ".pdf"), (std::vector<int>{50, 51, 52, 53})) << name;
    }
}

TEST_F(ManyPagesTest, singlePictureIsTheFirstPageAndTheOthersAreTold)
{
    makeTiff("three.tif", 101, 3, {});
    for (const std::string name : {"a.jpg", "a.png", "a.bmp"}) {
        testing::internal::CaptureStderr();
        EXPECT_TRUE(convertImage(path("three.tif"), path(name), 95));
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_THAT(told, HasSubstr("three.tif has 3 pages"));
        EXPECT_EQ(loadImage(pictures::readBytes(path(name))).value().width(), 101) << name;
    }
    makeTiff("one.tif", 90, 1, {});
    testing::internal::CaptureStderr();
    EXPECT_TRUE(convertImage(path("one.tif"), path("b.jpg"), 95));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ManyPagesTest, reducedPicturesAndMasksAreNoPages)
{
    HandMadeTiff tiff;
    tiff.add({10, 1}); // a thumbnail, even in front
    const std::size_t first = tiff.add({20, 0});
    tiff.add({30, 4}); // which pixels of the page are seen
    const std::size_t second = tiff.add({40, 2});
    tiff.add({50, 3}); // the reduced picture of a page
    EXPECT_EQ(tiffPages(tiff.bytes()).directories, (std::vector<std::uint64_t>{first, second}));
    EXPECT_EQ(loadImage(tiff.bytes()).value().row(0)[0], 20);
    EXPECT_EQ(loadImage(tiff.bytes(), second).value().row(0)[0], 40);
    HandMadeTiff alone;
    const std::size_t only = alone.add({10, 1});
    EXPECT_EQ(tiffPages(alone.bytes()).directories, (std::vector<std::uint64_t>{only}));
}

TEST_F(ManyPagesTest, brokenListOfPagesGivesWhatItListsAndIsAnError)
{
    for (const std::string kind : {"circle", "outside", "odd"}) {
        HandMadeTiff tiff;
        const std::size_t first = tiff.add({});
        tiff.add({99});
        tiff.linkTo(kind == "circle" ? first : kind == "odd" ? 9 : 1'000'000);
        EXPECT_EQ(tiffPages(tiff.bytes()).directories.size(), 2U) << kind;
        EXPECT_STRNE(tiffPages(tiff.bytes()).problem, "") << kind;
        const std::string name = ".broken-preview-0001.jpg"; // only working files are kept
        pictures::writeBytes(path(name), tiff.bytes());
        const std::string told = combine({name}, kind + ".pdf", -EBADMSG);
        EXPECT_THAT(told, HasSubstr("page 3 is missing: " + path(name) + ", its page 3"));
        EXPECT_EQ(widthsIn(kind + ".pdf").size(), 2U);
        EXPECT_EQ(pictures::readBytes(path(kind + "-rescued-0001.tif")), tiff.bytes());
        EXPECT_TRUE(convertImage(path(name), path(kind + ".png"), 95));
    }
}

TEST_F(ManyPagesTest, pagesThatShareTheirDataDoNotMultiplyTheWork)
{
    HandMadeTiff tiff;
    tiff.add({});
    Bytes bytes = tiff.bytes();
    // ten thousand directories, all of them showing the first one's pixels
    const Bytes directory(bytes.begin() + 72, bytes.end());
    for (int i = 0; i < 10'000; ++i) {
        const std::size_t link = bytes.size() - 4;
        for (std::size_t k = 0; k < 4; ++k)
            bytes[link + k] = static_cast<std::uint8_t>(bytes.size() >> 8 * k);
        bytes.insert(bytes.end(), directory.begin(), directory.end());
        const std::size_t lengthOfStrip = bytes.size() - 4 - 4;
        bytes[lengthOfStrip + 2] = 1; // 64 kB: as an honest page would take
    }
    const TiffPages pages = tiffPages(bytes);
    EXPECT_LT(pages.directories.size(), 100U);
    EXPECT_STRNE(pages.problem, "");
}

TEST_F(ManyPagesTest, thousandsOfMissingPagesAreNotToldOneByOne)
{
    HandMadeTiff tiff;
    tiff.add({});
    for (int i = 0; i < 500; ++i)
        tiff.add({0, 2, 8, 99});
    pictures::writeBytes(path("many.tif"), tiff.bytes());
    const std::string told = combine({"many.tif"}, "a.pdf", -EBADMSG);
    EXPECT_LT(std::count(told.begin(), told.end(), '\n'), 110);
    EXPECT_THAT(told, HasSubstr("400 more pages are missing"));
    EXPECT_EQ(widthsIn("a.pdf"), std::vector<int>{8});
}

TEST_F(ManyPagesTest, listsOfPagesAreNotReadPastTheirEnd)
{
    HandMadeTiff tiff;
    tiff.add({});
    tiff.add({});
    for (std::size_t size = 0; size < tiff.bytes().size(); ++size) {
        const GuardedBuffer cut(ByteView(tiff.bytes()).first(size));
        EXPECT_LE(tiffPages(cut.view()).directories.size(), 2U);
    }
}

TEST_F(ManyPagesTest, brokenPageOfATiffIsToldAndTheOthersAreWritten)
{
    for (const std::string name : {"a.pdf", "b.ofd", "c.tif"}) {
        HandMadeTiff tiff;
        tiff.add({10, 2, 8});
        tiff.add({20, 2, 8, 99}); // bits that no reader knows
        tiff.add({30, 2, 8});
        const std::string middle = ".middle-preview-0001.jpg"; // only working files are kept
        pictures::writeBytes(path(middle), tiff.bytes());
        makeJpeg("first.jpg", 101);
        const std::string told = combine({"first.jpg", middle}, name, -EBADMSG);
        EXPECT_THAT(told, HasSubstr("page 3 is missing: " + path(middle) + ", its page 2: "));
        EXPECT_EQ(widthsIn(name), (std::vector<int>{101, 8, 8})) << name;
        EXPECT_TRUE(fs::exists(path(name.substr(0, 1) + "-rescued-0001.tif")));
    }
}

TEST_F(ManyPagesTest, everyKindOfBadPageIsToldAndTheOtherNineAreWritten)
{
    const Bytes good = pictures::jpegOf(pictures::page(80, 60));
    pictures::writeBytes(path("plain.jpg"), good);
    const auto made = [&](const std::vector<std::string> &command) {
        const ProgramResult result = runProgram(command);
        EXPECT_EQ(result.status, 0) << result.errors;
        return Bytes(result.output.begin(), result.output.end());
    };
    Bytes twelveBits = good;
    twelveBits[jpeg::readStructure(good).value().heightBytes - 1] = 12;
    Bytes badTable = made({"jpegtran", "-progressive", path("plain.jpg")});
    badTable.resize(badTable.size() * 3 / 5);
    badTable.insert(badTable.end(), {0xFF, 0xD9});
    Bytes lossless = good;
    for (std::size_t i = 0; i + 1 < lossless.size(); ++i) {
        if (lossless[i] == 0xFF && lossless[i + 1] == 0xC0) {
            lossless[i + 1] = 0xC3;
            break;
        }
    }
    HandMadeTiff tiff;
    tiff.add({1, 2, 8, 99});
    const std::vector<Bytes> bad = {
        twelveBits, lossless, tiff.bytes(), Bytes(good.begin(), good.begin() + 300), {}};
    for (std::size_t kind = 0; kind < bad.size(); ++kind) {
        for (const std::string format : {".pdf", ".ofd", ".tif"}) {
            std::vector<std::string> sources;
            PendingDocument document;
            for (int i = 0; i < 10; ++i) {
                makeJpeg("p" + std::to_string(i), 80 + i);
                ASSERT_TRUE(document.add(path("p" + std::to_string(i))));
            }
            if (bad[kind].empty())
                fs::remove(path("p4"));
            else
                pictures::writeBytes(path("p4"), bad[kind]);
            const std::string name = std::to_string(kind) + format;
            testing::internal::CaptureStderr();
            const int code = document.combine(path(name), 95).code();
            const std::string told = testing::internal::GetCapturedStderr();
            // a container that takes such bytes as they are leaves them to the reader
            if (code == 0) {
                EXPECT_EQ(widthsIn(name).size(), 10U) << name;
                continue;
            }
            EXPECT_EQ(code, bad[kind].empty() ? -ENOENT : -EBADMSG) << name;
            EXPECT_THAT(told, HasSubstr("page 5 is missing: " + path("p4") + ": ")) << name;
            EXPECT_EQ(widthsIn(name), (std::vector<int>{80, 81, 82, 83, 85, 86, 87, 88, 89}))
                << name;
        }
    }
}

TEST_F(ManyPagesTest, tiffGoesOnAfterAPageThatItCannotTake)
{
    makeJpeg("a.jpg", 80);
    pictures::writeBytes(path("page.pgm"), ByteView("P5 8 8 255\n", 11));
    const Bytes good = pictures::readBytes(path("a.jpg"));
    Bytes odd = good;
    odd[jpeg::readStructure(good).value().samplingByte] = 0x31;
    const auto pageOf = [](const Bytes &jpeg) {
        Page page;
        page.jpeg = jpeg;
        page.info = jpeg::readInfo(jpeg).value();
        page.width = page.info.width;
        page.height = page.info.height;
        page.resolution = 100;
        return page;
    };
    MemorySink sink;
    TiffWriter writer(sink, {});
    ASSERT_TRUE(writer.addPage(pageOf(good)));
    EXPECT_EQ(writer.addPage(pageOf(odd)).code(), kUnfitPage);
    ASSERT_TRUE(writer.addPage(pageOf(good)));
    ASSERT_TRUE(writer.finish());
    pictures::writeBytes(path("a.tif"), sink.bytes());
    EXPECT_EQ(widthsIn("a.tif"), (std::vector<int>{80, 80}));
    EXPECT_EQ(runProgram({"tiffinfo", "-d", path("a.tif")}).errors, "");
}
