#include "tests/library/api/manager_fixture.h"

#include "library/jpeg/jpeg.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/wait.h"
#include "tests/support/temp_home.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

using korv::Manager;
using testing_support::Gate;

namespace {

using ManagerFiles = ManagerTest;

Gate *frameArrived = nullptr;
Gate *frameMayReturn = nullptr;

int holdFrame(void *, int, int, int)
{
    frameArrived->open();
    frameMayReturn->wait();
    return 0;
}

korv::Bytes contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

TEST_F(ManagerFiles, documentsAreMadeWithTheSettings)
{
    Manager manager([](const korv::Settings &) { return korv::Session::Monitors(); },
                    [] {
                        korv::Settings settings;
                        settings.title = "Of the office";
                        settings.pageSize = korv::SheetSize{100, 200};
                        return settings;
                    });
    ASSERT_TRUE(manager.initialise());
    const auto expectPdf = [&](const std::string &name, const std::string &title) {
        const korv::Bytes pdf = contentOf(m_folder / name);
        const std::string text(pdf.begin(), pdf.end());
        EXPECT_NE(text.find("283.4646 566.9291"), std::string::npos) << name;
        EXPECT_NE(text.find("(" + title + ")"), std::string::npos) << name;
    };
    const std::string pixels(3 * 20 * 40, '\x40');
    ASSERT_TRUE(manager.saveRgb(pixels.data(), 20, 40, m_folder / "a.jpg"));
    ASSERT_TRUE(manager.saveRgb(pixels.data(), 20, 40, m_folder / "rgb.pdf"));
    expectPdf("rgb.pdf", "Of the office");
    ASSERT_TRUE(manager.convert(m_folder / "a.jpg", m_folder / "converted.pdf"));
    expectPdf("converted.pdf", "Of the office");
    ASSERT_TRUE(manager.addPage(m_folder / "a.jpg"));
    ASSERT_TRUE(manager.combine(m_folder / "combined.pdf"));
    expectPdf("combined.pdf", "Of the office");
    const support::ScopedVariable title("KORV_CAMERA_TITLE", "Of the environment");
    ASSERT_TRUE(manager.addPage(m_folder / "a.jpg"));
    ASSERT_TRUE(manager.combine(m_folder / "named.pdf"));
    expectPdf("named.pdf", "Of the environment");
}

TEST_F(ManagerFiles, photographIsMadeWithTheOptions)
{
    ASSERT_TRUE(m_manager.setRotation(1));
    ASSERT_TRUE(m_manager.setColour(1));
    const std::string path = m_folder / "photograph.jpg";
    korv::Bytes frame = testing_support::jpegOf(testing_support::wavyImage(160, 120));
    frame.resize(160 * 120 * 3); // as in the receiver's buffer: the frame, then anything
    ASSERT_TRUE(m_manager.savePhotograph(frame.data(), 160, 120, path));
    const auto info = korv::jpeg::readInfo(contentOf(path));
    ASSERT_TRUE(info);
    EXPECT_EQ(info.value().width, 120);
    EXPECT_EQ(info.value().height, 160);
    EXPECT_EQ(info.value().components, 1);
}

TEST_F(ManagerFiles, cleanComesFromTheSettingsAndTheEnvironmentGoesBeforeThem)
{
    Manager manager([](const korv::Settings &) { return korv::Session::Monitors(); },
                    [] {
                        korv::Settings settings;
                        settings.clean = true;
                        return settings;
                    });
    const korv::Bytes frame =
        testing_support::jpegOf(testing_support::plainImage(160, 120, {150, 150, 150}));
    const auto saved = [&] {
        korv::Bytes padded = frame;
        padded.resize(160 * 120 * 3);
        EXPECT_TRUE(manager.savePhotograph(padded.data(), 160, 120, m_folder / "a.jpg"));
        return contentOf(m_folder / "a.jpg");
    };
    EXPECT_EQ(saved(), frame); // no settings are in force before the library is initialised
    ASSERT_TRUE(manager.initialise());
    EXPECT_GT(korv::jpeg::decode(saved()).value().row(60)[240], 180);
    const support::ScopedVariable off("KORV_CAMERA_CLEAN", "no");
    EXPECT_EQ(saved(), frame);
    const support::ScopedVariable bad("KORV_CAMERA_CLEAN", "perhaps");
    testing::internal::CaptureStderr();
    EXPECT_NE(saved(), frame);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("KORV_CAMERA_CLEAN: neither yes nor no"));
}

TEST_F(ManagerFiles, conversionsAreCleanedOnlyByTheirOwnVariable)
{
    Manager manager([](const korv::Settings &) { return korv::Session::Monitors(); },
                    [] {
                        korv::Settings settings;
                        settings.clean = true;
                        return settings;
                    });
    ASSERT_TRUE(manager.initialise());
    const std::string pixels(3 * 160 * 120, '\x80');
    ASSERT_TRUE(manager.saveRgb(pixels.data(), 160, 120, m_folder / "a.png"));
    ASSERT_TRUE(manager.convert(m_folder / "a.png", m_folder / "plain.bmp"));
    const support::ScopedVariable on("KORV_CAMERA_CLEAN_FILES", "yes");
    ASSERT_TRUE(manager.convert(m_folder / "a.png", m_folder / "clean.bmp"));
    EXPECT_EQ(contentOf(m_folder / "plain.bmp").back(), 0x80);
    EXPECT_GT(contentOf(m_folder / "clean.bmp").back(), 180);
}

TEST_F(ManagerFiles, documentsAreCompactByTheSettingsAndTheEnvironmentGoesBefore)
{
    Manager manager([](const korv::Settings &) { return korv::Session::Monitors(); },
                    [] {
                        korv::Settings settings;
                        settings.compact = true;
                        return settings;
                    });
    ASSERT_TRUE(manager.initialise());
    // a black bar on white paper with grain, which no JPEG likes
    std::string pixels(3 * 800 * 600, '\xe0');
    std::uint32_t state = 1;
    for (char &level : pixels) {
        state = state * 1664525U + 1013904223U;
        level = static_cast<char>(224 + static_cast<int>(state >> 29));
    }
    for (int y = 100; y < 120; ++y)
        std::fill_n(pixels.begin() + 3 * (800 * y + 100), 3 * 600, '\x20');
    const auto isLayered = [&](const std::string &name) {
        const korv::Bytes pdf = contentOf(m_folder / name);
        return std::string(pdf.begin(), pdf.end()).find("/ImageMask true") != std::string::npos;
    };
    ASSERT_TRUE(manager.saveRgb(pixels.data(), 800, 600, m_folder / "a.jpg"));
    ASSERT_TRUE(manager.saveRgb(pixels.data(), 800, 600, m_folder / "rgb.pdf"));
    EXPECT_TRUE(isLayered("rgb.pdf"));
    ASSERT_TRUE(manager.convert(m_folder / "a.jpg", m_folder / "converted.pdf"));
    EXPECT_TRUE(isLayered("converted.pdf"));
    ASSERT_TRUE(manager.addPage(m_folder / "a.jpg"));
    ASSERT_TRUE(manager.combine(m_folder / "combined.pdf"));
    EXPECT_TRUE(isLayered("combined.pdf"));
    const support::ScopedVariable off("KORV_CAMERA_COMPACT", "no");
    ASSERT_TRUE(manager.convert(m_folder / "a.jpg", m_folder / "plain.pdf"));
    EXPECT_FALSE(isLayered("plain.pdf"));
}

TEST_F(ManagerFiles, badPhotographsAreRefusedAndLeaveNoFile)
{
    const std::string path = m_folder / "photograph.jpg";
    const korv::Bytes frame = testing_support::jpegOf(testing_support::wavyImage(160, 120));
    korv::Bytes noise(160 * 120 * 3, 0x55);
    korv::Bytes half(noise.size(), 0);
    std::copy_n(frame.begin(), frame.size() / 2, half.begin());
    EXPECT_EQ(m_manager.savePhotograph(nullptr, 160, 120, path).code(), -EINVAL);
    EXPECT_EQ(m_manager.savePhotograph(noise.data(), 0, 120, path).code(), -EINVAL);
    EXPECT_EQ(m_manager.savePhotograph(noise.data(), 160, -1, path).code(), -EINVAL);
    EXPECT_EQ(m_manager.savePhotograph(noise.data(), 160, 120, "").code(), -EINVAL);
    EXPECT_EQ(m_manager.savePhotograph(noise.data(), 70'000, 120, path).code(), -EFBIG);
    EXPECT_EQ(m_manager.savePhotograph(noise.data(), 160, 120, path).code(), -EBADMSG);
    EXPECT_EQ(m_manager.savePhotograph(half.data(), 160, 120, path).code(), -EBADMSG);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
}

TEST_F(ManagerFiles, photographIsWrittenWhileTheStreamStandsStill)
{
    Gate arrived;
    Gate mayReturn;
    frameArrived = &arrived;
    frameMayReturn = &mayReturn;
    ASSERT_TRUE(m_manager.initialise());
    m_backend.plug("a");
    const auto session = m_manager.session().value();
    ASSERT_TRUE(session->open(0));
    ASSERT_TRUE(session->startCapture(0, holdFrame));
    ASSERT_TRUE(arrived.wait());
    std::thread closer([&] { EXPECT_TRUE(session->close(0)); });

    korv::Bytes frame = testing_support::jpegOf(testing_support::wavyImage(64, 48));
    frame.resize(64 * 48 * 3);
    EXPECT_TRUE(m_manager.savePhotograph(frame.data(), 64, 48, m_folder / "p.jpg"));
    EXPECT_TRUE(std::filesystem::exists(m_folder / "p.jpg"));
    mayReturn.open();
    closer.join();
}

TEST_F(ManagerFiles, rgbPixelsBecomeAFile)
{
    const korv::Image image = testing_support::plainImage(20, 10, {200, 100, 50});
    const std::string path = m_folder / "x.jpg";
    ASSERT_TRUE(m_manager.saveRgb(image.pixels(), 20, 10, path));
    const auto decoded = korv::jpeg::decode(contentOf(path));
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(
        testing_support::isNear(testing_support::colourAt(decoded.value(), 10, 5), {200, 100, 50}));
    EXPECT_EQ(m_manager.saveRgb(nullptr, 20, 10, path).code(), -EINVAL);
    EXPECT_EQ(m_manager.saveRgb(image.pixels(), 20, 0, path).code(), -EINVAL);
    EXPECT_EQ(m_manager.saveRgb(image.pixels(), 70'000, 1, path).code(), -EFBIG);
    EXPECT_EQ(m_manager.saveRgb(image.pixels(), 20, 10, m_folder / "x.gif").code(), -EINVAL);
}

TEST_F(ManagerFiles, pendingPagesAreForgottenAtTheEnd)
{
    const std::string page = m_folder / "page.jpg";
    testing_support::writeFile(page, testing_support::jpegOf(testing_support::wavyImage(40, 30)));
    ASSERT_TRUE(m_manager.initialise());
    ASSERT_TRUE(m_manager.addPage(page));
    ASSERT_TRUE(m_manager.uninitialise());
    EXPECT_EQ(m_manager.combine(m_folder / "x.pdf").code(), -ENODATA);
    ASSERT_TRUE(m_manager.addPage(page));
    EXPECT_TRUE(m_manager.combine(m_folder / "x.pdf"));
    EXPECT_TRUE(std::filesystem::exists(m_folder / "x.pdf"));
}
