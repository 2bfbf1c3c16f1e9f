#include "library/api/manager.h"

#include "library/image/rotate.h"
#include "tests/library/support/fake_tesseract.h"
#include "tests/library/support/lying_page.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/surroundings.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <thread>

using namespace std::chrono_literals;
using korv::Manager;
using testing::HasSubstr;

namespace {

class ManagerTextTest : public testing::Test
{
protected:
    void SetUp() override { install(""); }
    /// What the program does with a picture, after the file "begun" shows that it has one.
    void install(const std::string &commands)
    {
        m_tesseract.install("/usr/bin/touch '" + (m_folder / "begun") + "';" + commands);
    }
    bool hasBegun() const { return std::filesystem::exists(m_folder / "begun"); }
    bool begins() const
    {
        return becomesTrue([&] { return hasBegun(); });
    }
    std::string photograph(const std::string &name, int width = 320)
    {
        const korv::Bytes frame = pictures::jpegOf(pictures::page(width, 240));
        EXPECT_TRUE(m_manager.savePhotograph(frame.data(), width, 240, m_folder / name));
        return m_folder / name;
    }
    static int widthOf(int page) { return 320 + 2 * page; }
    /// Files in the folder whose names end so.
    int notes(const std::string &ending) const
    {
        int count = 0;
        for (const auto &entry : std::filesystem::directory_iterator(m_folder.path()))
            count += testing::Matches(testing::EndsWith(ending))(entry.path().string()) ? 1 : 0;
        return count;
    }
    bool becomes(const std::string &ending, int wanted) const
    {
        return becomesTrue([&] { return notes(ending) == wanted; });
    }
    /// What runs only where nobody else does may have to wait for other tests.
    template <typename Condition> static bool becomesTrue(const Condition &condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + 90s * support::slowness();
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(20ms);
        return condition();
    }
    static int occurrences(const std::string &text, const std::string &part)
    {
        int count = 0;
        for (std::size_t at = text.find(part); at != std::string::npos;
             at = text.find(part, at + 1))
            ++count;
        return count;
    }
    std::string conversion(const std::string &source)
    {
        const std::string path = source + ".pdf";
        EXPECT_TRUE(m_manager.convert(source, path));
        return support::readFile(path);
    }

    testing_support::TemporaryFolder m_folder;
    testing_support::FakeTesseract m_tesseract;
    korv::Settings m_settings;
    Manager m_manager{[](const korv::Settings &) { return korv::Session::Monitors(); },
                      [this] { return m_settings; }};
};

} // namespace

TEST_F(ManagerTextTest, photographIsRecognisedBeforeItIsExported)
{
    m_settings.text.names = "eng";
    ASSERT_TRUE(m_manager.initialise());
    const std::string path = photograph("a.jpg");
    EXPECT_TRUE(begins());
    // what comes next would take for ever, if it were recognised again
    m_tesseract.install("/usr/bin/sleep 1000");
    EXPECT_THAT(conversion(path), HasSubstr("/ToUnicode"));
    ASSERT_TRUE(m_manager.addPage(path));
    ASSERT_TRUE(m_manager.combine(m_folder / "b.pdf"));
    EXPECT_THAT(support::readFile(m_folder / "b.pdf"), HasSubstr("/Lang (en)"));
}

TEST_F(ManagerTextTest, exportWaitsForTheLastPageOnly)
{
    constexpr int kPages = 20;
    // each picture has a width of its own, by which the program names it in a file that it leaves;
    // the last one takes until it is released
    const std::string note = m_folder / "page-";
    m_tesseract.install("/usr/bin/touch '" + note
                        + "'$width-$$-begun\n"
                          "while [ $width = "
                        + std::to_string(widthOf(kPages - 1)) + " ] && [ ! -e '"
                        + (m_folder / "released")
                        + "' ]; do /usr/bin/sleep 0.02; done\n"
                          "/usr/bin/touch '"
                        + note + "'$width-$$-done");
    m_settings.text.names = "eng";
    ASSERT_TRUE(m_manager.initialise());
    for (int page = 0; page < kPages; ++page) {
        const std::string path = photograph(std::to_string(page) + ".jpg", widthOf(page));
        ASSERT_TRUE(m_manager.addPage(path));
    }
    ASSERT_TRUE(becomes("-begun", kPages));
    ASSERT_TRUE(becomes("-done", kPages - 1));

    bool isCombined = false;
    std::atomic<bool> hasEnded = false;
    std::thread exporting([&] {
        isCombined = static_cast<bool>(m_manager.combine(m_folder / "a.pdf"));
        hasEnded = true;
    });
    std::this_thread::sleep_for(300ms);
    EXPECT_FALSE(hasEnded);
    testing_support::writeFile(m_folder / "released", std::string());
    exporting.join();
    EXPECT_TRUE(isCombined);
    EXPECT_EQ(notes("-begun"), kPages) << "a page was recognised twice";
    const std::string pdf = support::readFile(m_folder / "a.pdf");
    EXPECT_EQ(occurrences(pdf, "/Contents "), kPages);
    EXPECT_EQ(occurrences(pdf, "/Font <<"), kPages);
}

TEST_F(ManagerTextTest, nothingIsRecognisedWithoutTheSetting)
{
    ASSERT_TRUE(m_manager.initialise());
    EXPECT_THAT(conversion(photograph("a.jpg")), testing::Not(HasSubstr("/ToUnicode")));
    EXPECT_FALSE(hasBegun());
}

TEST_F(ManagerTextTest, environmentGoesBeforeTheSettings)
{
    const support::ScopedVariable no("KORV_CAMERA_TEXT", "no");
    m_settings.text.names = "eng";
    ASSERT_TRUE(m_manager.initialise());
    EXPECT_THAT(conversion(photograph("a.jpg")), testing::Not(HasSubstr("/ToUnicode")));
    ASSERT_TRUE(m_manager.uninitialise());
    m_settings.text = {};
    const support::ScopedVariable english("KORV_CAMERA_TEXT", "eng");
    ASSERT_TRUE(m_manager.initialise());
    EXPECT_THAT(conversion(photograph("b.jpg")), HasSubstr("/ToUnicode"));
    ASSERT_TRUE(m_manager.uninitialise());
    const support::ScopedVariable rubbish("KORV_CAMERA_TEXT", "../eng");
    testing::internal::CaptureStderr();
    ASSERT_TRUE(m_manager.initialise());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("no languages such as chi_sim+eng"));
    EXPECT_THAT(conversion(photograph("c.jpg")), testing::Not(HasSubstr("/ToUnicode")));
}

TEST_F(ManagerTextTest, pagesAreReadForTheirDirectionAloneWhenOnlyThatIsWanted)
{
    m_settings.upright = true;
    m_tesseract.installOnly("/usr/bin/touch '" + (m_folder / "begun")
                            + "'; echo chi_sim; echo eng");
    ASSERT_TRUE(m_manager.initialise());
    EXPECT_THAT(conversion(photograph("a.jpg")), testing::Not(HasSubstr("/ToUnicode")));
    EXPECT_TRUE(hasBegun());
    ASSERT_TRUE(m_manager.uninitialise());
    std::filesystem::remove(m_folder / "begun");
    const support::ScopedVariable no("KORV_CAMERA_UPRIGHT", "no");
    ASSERT_TRUE(m_manager.initialise());
    conversion(photograph("b.jpg"));
    EXPECT_FALSE(hasBegun());
}

TEST_F(ManagerTextTest, photographOnItsHeadIsTurnedUnlessTheEnvironmentRefuses)
{
    m_settings.text.names = "eng";
    m_tesseract.install(testing_support::commandsThatReadCornerPages());
    const korv::Bytes onItsHead =
        pictures::jpegOf(korv::rotate(testing_support::cornerPage(96, 128), korv::Rotation::Half));
    pictures::writeBytes(m_folder / "a.jpg", onItsHead);
    const std::string bytes(onItsHead.begin(), onItsHead.end());
    ASSERT_TRUE(m_manager.initialise());
    EXPECT_THAT(conversion(m_folder / "a.jpg"), testing::Not(HasSubstr(bytes)));
    ASSERT_TRUE(m_manager.uninitialise());
    std::filesystem::remove(m_folder / "a.jpg.pdf");
    const support::ScopedVariable no("KORV_CAMERA_UPRIGHT", "no");
    ASSERT_TRUE(m_manager.initialise());
    const std::string pdf = conversion(m_folder / "a.jpg");
    EXPECT_THAT(pdf, HasSubstr(bytes));
    EXPECT_THAT(pdf, HasSubstr("/ToUnicode"));
}

TEST_F(ManagerTextTest, endOfTheLibraryEndsRecognitionAtOnce)
{
    install("/usr/bin/sleep 1000");
    m_settings.text.names = "eng";
    ASSERT_TRUE(m_manager.initialise());
    photograph("a.jpg");
    ASSERT_TRUE(begins());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(m_manager.uninitialise());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 3s);
}

TEST_F(ManagerTextTest, exportUnderWayAtTheEndGoesOnWithoutText)
{
    install("/usr/bin/sleep 1000");
    m_settings.text.names = "eng";
    ASSERT_TRUE(m_manager.initialise());
    const std::string path = photograph("a.jpg");
    std::string pdf;
    std::thread exporting([&] { pdf = conversion(path); });
    ASSERT_TRUE(begins());
    std::this_thread::sleep_for(100ms);
    EXPECT_TRUE(m_manager.uninitialise());
    exporting.join();
    EXPECT_THAT(pdf, testing::EndsWith("%%EOF\n"));
}
