#include "library/recognition/tesseract.h"

#include "library/recognition/reading_direction.h"
#include "tests/library/support/script.h"
#include "tests/library/support/typed_page.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>

using namespace korv;
using testing::HasSubstr;

namespace {

constexpr char kLanguages[] = "printf 'List of available languages (2):\\nchi_sim\\neng\\n'";

class TesseractTest : public testing::Test
{
protected:
    /// What stands in for the program.
    void install(const std::string &commands)
    {
        testing_support::writeScript(m_folder / "tesseract", commands);
    }

    testing_support::TemporaryFolder m_folder;
    support::ScopedVariable m_path{"PATH", m_folder.path()};
    EventFd m_stop = EventFd::create().value();
    Image m_picture{64, 48, PixelFormat::Gray8};
};

} // namespace

TEST_F(TesseractTest, programThatIsNotInstalledIsNamedOnce)
{
    Tesseract tesseract({"eng"});
    testing::internal::CaptureStderr();
    EXPECT_FALSE(tesseract.isReady({}, m_stop));
    EXPECT_FALSE(tesseract.isReady({}, m_stop));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "korvcamera: warning: text recognition: documents get no text: tesseract is not "
              "installed (package tesseract-ocr)\n");
}

TEST_F(TesseractTest, languageThatIsMissingIsNamedWithItsPackage)
{
    install(kLanguages);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Tesseract({"eng+chi_tra"}).isReady({}, m_stop));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("does not know the language chi_tra (package tesseract-ocr-chi-tra)"));
    EXPECT_TRUE(Tesseract({"eng+chi_sim"}).isReady({}, m_stop));
}

TEST_F(TesseractTest, getsThePictureAndTheLanguages)
{
    install("head -n 2 | tr '\\n' ' '; echo \"$3 $4\"");
    const auto said = Tesseract({"eng+chi_sim"}).describe(m_picture, {}, m_stop);
    ASSERT_TRUE(said) << said.error().text;
    EXPECT_EQ(said.value(), "P5 64 48 -l eng+chi_sim\n");
}

TEST_F(TesseractTest, resolutionIsGivenWhereItIsBelieved)
{
    install("echo \"$*\"");
    m_picture.setResolution(204.2);
    EXPECT_THAT(Tesseract({"eng"}).describe(m_picture, {}, m_stop).value(), HasSubstr("--dpi 204"));
    m_picture.setResolution(30);
    EXPECT_THAT(Tesseract({"eng"}).describe(m_picture, {}, m_stop).value(),
                testing::Not(HasSubstr("--dpi")));
}

TEST(TesseractProgram, readsWhatLiesInAShadow)
{
    if (!std::filesystem::exists("/usr/bin/tesseract"))
        GTEST_SKIP() << "tesseract is not installed";
    constexpr double kShadow = 0.4;
    const Image lit = testing_support::linesOfType();
    Image shaded = lit;
    for (int y = 0; y < shaded.height(); ++y) {
        for (int x = shaded.width() / 2; x < shaded.width(); ++x)
            shaded.row(y)[x] = static_cast<std::uint8_t>(shaded.row(y)[x] * kShadow);
    }
    const Tesseract tesseract({"eng"});
    const EventFd stop = EventFd::create().value();
    ProgramLimits limits;
    limits.time = std::chrono::minutes(2);
    const auto charactersOn = [&](const Image &page) {
        const auto said = tesseract.describe(page, limits, stop);
        EXPECT_TRUE(said) << said.error().text;
        return qualityOf(readTesseractTable(said.value()).value()).characters;
    };
    EXPECT_GT(charactersOn(shaded), 0.95 * charactersOn(lit));
}

TEST_F(TesseractTest, pictureLargerThanAnyPageIsRefused)
{
    install("exit 1");
    const Image large = Image::unset(10'000, 5'000, PixelFormat::Gray8);
    EXPECT_EQ(Tesseract({"eng"}).describe(large, {}, m_stop).code(), -EFBIG);
}
