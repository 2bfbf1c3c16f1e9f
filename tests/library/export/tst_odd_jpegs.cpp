// JPEGs of every sampling and coding as pages of every document.
#include "library/export/pending_document.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <filesystem>
#include <gmock/gmock.h>

using namespace korv;
namespace fs = std::filesystem;

namespace {

class OddJpegsTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    /// The number of pages that the document has, as others count them.
    int combined(const std::vector<std::string> &sources, const std::string &name)
    {
        PendingDocument document;
        for (const std::string &source : sources)
            EXPECT_EQ(document.add(path(source)).code(), 0) << source;
        EXPECT_EQ(document.combine(path(name), 95).code(), 0) << name;
        const std::vector<std::string> command = name == "a.pdf"
            ? std::vector<std::string>{"pdfimages", "-list", path(name)}
            : name == "a.tif" ? std::vector<std::string>{"tiffinfo", path(name)}
                              : std::vector<std::string>{"zipinfo", "-1", path(name)};
        const std::string mark = name == "a.pdf" ? " image "
            : name == "a.tif"                    ? "TIFF Directory at"
                                                 : "Doc_0/Res/image_";
        const ProgramResult listed = runProgram(command);
        EXPECT_EQ(listed.errors, "") << name;
        int pages = 0;
        for (std::size_t at = 0; (at = listed.output.find(mark, at)) != std::string::npos; ++at)
            ++pages;
        return pages;
    }

    support::TempHome m_home;
};

} // namespace

TEST_F(OddJpegsTest, anySamplingBecomesAPageOfATiff)
{
    const Image page = pictures::page(96, 64);
    for (const std::string sampling : {"3x1", "1x3", "3x2", "4x1", "1x4", "4x2", "2x4", "1x2",
                                       "2x1", "2x2,1x2", "2x2,2x1", "2x1,1x1,2x1"}) {
        const std::string sampled = path("sampled.jpg");
        const std::string ppm = path("page.ppm");
        std::string pnm = "P6 96 64 255\n";
        pnm.append(reinterpret_cast<const char *>(page.pixels()), page.stride() * 64);
        pictures::writeBytes(ppm, ByteView(pnm.data(), pnm.size()));
        const ProgramResult coded =
            runProgram({"cjpeg", "-quality", "90", "-sample", sampling, "-outfile", sampled, ppm});
        ASSERT_EQ(coded.status, 0) << sampling << coded.errors;
        pictures::writeBytes(path("plain.jpg"), pictures::jpegOf(pictures::page(70, 60)));
        for (const std::string name : {"a.tif", "a.pdf", "a.ofd"}) {
            EXPECT_EQ(combined({"plain.jpg", "sampled.jpg", "plain.jpg"}, name), 3)
                << sampling << name;
        }
        const ProgramResult read =
            runProgram({"convert", path("a.tif") + "[1]", "-depth", "8", "ppm:-"});
        ASSERT_EQ(read.status, 0) << sampling << read.errors;
        EXPECT_TRUE(read.errors.empty()) << sampling << read.errors;
        const ProgramResult expected = runProgram({"djpeg", "-ppm", sampled});
        EXPECT_LT(pictures::difference(pictures::fromPnm(read.output),
                                       pictures::fromPnm(expected.output)),
                  3)
            << sampling;
        for (const std::string name : {"a.tif", "a.pdf", "a.ofd"})
            fs::remove(path(name));
    }
}

TEST_F(OddJpegsTest, everyCodingOfAJpegBecomesAPageOfEveryDocument)
{
    pictures::writeBytes(path("plain.jpg"), pictures::jpegOf(pictures::page(96, 64)));
    const std::vector<std::vector<std::string>> commands = {
        {"jpegtran", "-progressive", path("plain.jpg")},
        {"jpegtran", "-arithmetic", path("plain.jpg")},
        {"jpegtran", "-restart", "1", path("plain.jpg")},
        {"jpegtran", "-grayscale", path("plain.jpg")},
        {"cjpeg", "-rgb", path("page.ppm")},
        {"convert", path("plain.jpg"), "-colorspace", "CMYK", "jpeg:-"},
        {"convert", path("plain.jpg"), "-colorspace", "Gray", "-sampling-factor", "2x2", "jpeg:-"}};
    ASSERT_EQ(runProgram({"djpeg", "-ppm", "-outfile", path("page.ppm"), path("plain.jpg")}).status,
              0);
    for (const std::vector<std::string> &command : commands) {
        const ProgramResult made = runProgram(command);
        ASSERT_EQ(made.status, 0) << made.errors;
        pictures::writeBytes(path("kind.jpg"), {made.output.data(), made.output.size()});
        for (const std::string name : {"a.tif", "a.pdf", "a.ofd"}) {
            EXPECT_EQ(combined({"plain.jpg", "kind.jpg"}, name), 2) << command[1] << name;
        }
        const ProgramResult info = runProgram({"tiffinfo", path("a.tif")});
        EXPECT_EQ(info.errors, "") << command[1];
        const ProgramResult read = runProgram(
            {"convert", path("a.tif") + "[1]", "-depth", "8", "-type", "TrueColor", "ppm:-"});
        const ProgramResult expected =
            runProgram({"convert", path("kind.jpg"), "-colorspace", "sRGB", "-depth", "8", "-type",
                        "TrueColor", "ppm:-"});
        ASSERT_EQ(read.status, 0) << read.errors;
        EXPECT_LT(pictures::difference(pictures::fromPnm(read.output),
                                       pictures::fromPnm(expected.output)),
                  4)
            << command[1];
        for (const std::string name : {"a.tif", "a.pdf", "a.ofd"})
            fs::remove(path(name));
    }
}
