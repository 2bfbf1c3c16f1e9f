#include "library/recognition/tesseract.h"

#include "tests/library/recognition/script.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <gmock/gmock.h>

using namespace korv;
using testing::HasSubstr;

namespace {

constexpr char kPage[] = R"(if [ "$1" = --list-langs ]; then
    printf 'List of available languages (2):\nchi_sim\neng\n'; exit 0
fi
head -c 20 | head -n 2 >&2
printf 'level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth\theight\tconf\ttext\n'
printf '1\t1\t0\t0\t0\t0\t0\t0\t64\t48\t-1\t\n'
printf '5\t1\t1\t1\t1\t1\t1\t2\t30\t10\t90.0\t%s\n' "$4"
)";

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
    install(kPage);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Tesseract({"eng+chi_tra"}).isReady({}, m_stop));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("does not know the language chi_tra (package tesseract-ocr-chi-tra)"));
    EXPECT_TRUE(Tesseract({"eng+chi_sim"}).isReady({}, m_stop));
}

TEST_F(TesseractTest, recognisesWithTheLanguages)
{
    install(kPage);
    const auto text = Tesseract({"eng+chi_sim"}).recognise(m_picture, {}, m_stop);
    ASSERT_TRUE(text) << text.error().text;
    ASSERT_EQ(text.value().lines.size(), 1U);
    EXPECT_EQ(text.value().lines[0].words[0].text, "eng+chi_sim");
}

TEST_F(TesseractTest, rubbishAndWordsOfOtherPicturesAreRefused)
{
    install("head -c 5000 /dev/urandom");
    EXPECT_EQ(Tesseract({"eng"}).recognise(m_picture, {}, m_stop).code(), -EBADMSG);
    install(kPage);
    const Image other(65, 48, PixelFormat::Gray8);
    EXPECT_EQ(Tesseract({"eng"}).recognise(other, {}, m_stop).code(), -EBADMSG);
}

TEST_F(TesseractTest, pictureLargerThanAnyPageIsRefused)
{
    install("exit 1");
    const Image large = Image::unset(10'000, 5'000, PixelFormat::Gray8);
    EXPECT_EQ(Tesseract({"eng"}).recognise(large, {}, m_stop).code(), -EFBIG);
}
