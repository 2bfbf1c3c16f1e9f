#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <filesystem>

class ShutdownTest : public WindowTest
{
};

TEST_F(ShutdownTest, closingTheWindowClosesTheRunningCamera)
{
    openOneCamera();
    m_window->show();
    runQueued();
    traces();
    EXPECT_TRUE(m_window->close());
    EXPECT_FALSE(m_window->isVisible());
    EXPECT_EQ(traces(),
              "[ondeviceRunningSwitch] Enter type:3 \n"
              "[CloseCamera] KorvCamera_Close-0\n");
    EXPECT_EQ(calls(), "Close(0)\n");
    EXPECT_EQ(m_window->m_cameras.front().status, 0);
    EXPECT_TRUE(m_window->ui->devlistcomb->isEnabled());
    EXPECT_FALSE(m_window->ui->photoBtn->isEnabled());
    EXPECT_NE(settingsFile("1234*5678.ini"), "");
    runQueued();
    EXPECT_EQ(traces(), "") << "no refresh follows";
}

TEST_F(ShutdownTest, closingWithoutACameraOnlySweeps)
{
    EXPECT_TRUE(m_window->close());
    EXPECT_EQ(traces(), "[ondeviceRunningSwitch] Enter type:3 \n");
    m_window.reset();
    EXPECT_EQ(traces(), "close mainwindow\n");
    EXPECT_EQ(calls(), "");
}

TEST_F(ShutdownTest, libraryIsUninitialisedAndUnloaded)
{
    startLibrary();
    m_window.reset();
    EXPECT_EQ(traces(),
              "free tavelo success\n"
              "close mainwindow\n");
    EXPECT_EQ(calls(), "UnInit()\n");
}

TEST_F(ShutdownTest, failingUninitIsReportedAndChangesNothing)
{
    startLibrary();
    fake_set_result("UnInit", -5);
    m_window.reset();
    EXPECT_EQ(traces(),
              "uninit camera failure\n"
              "free tavelo success\n"
              "close mainwindow\n");
    EXPECT_EQ(calls(), "UnInit()\n");
}

TEST_F(ShutdownTest, openCameraIsNotClosedByDestruction)
{
    openOneCamera();
    m_window.reset();
    EXPECT_EQ(calls(), "UnInit()\n");
}

TEST_F(ShutdownTest, unloadableLibraryIsNeitherUninitialisedNorFreed)
{
    WindowUnderTest window("/nonexistent/libcamera.so");
    window.onslot_StartCamera();
    EXPECT_FALSE(window.m_KorvCamera);
    traces();
    m_window.reset();
    EXPECT_EQ(traces(), "close mainwindow\n");
    EXPECT_EQ(calls(), "");
}

TEST_F(ShutdownTest, workingFilesAreDeletedAfterTheLibraryIsShutDown)
{
    const std::filesystem::path folder = useSaveFolder();
    startLibrary();
    for (const char *name : {"one.jpg", "two.jpg"}) {
        std::filesystem::copy_file(m_home.write("picture", "x"), folder / name);
        m_window->Append_thumlist(m_window->key_thumlist(),
                                  QString::fromStdString((folder / name).string()));
    }
    std::filesystem::copy_file(m_home.write("picture", "x"), folder / "stranger.jpg");
    bool thereBefore = false;
    const CallWatch watch([&](const std::string &name, const std::string &) {
        thereBefore |= name == "UnInit" && std::filesystem::exists(folder / "one.jpg");
    });
    m_window.reset();
    EXPECT_TRUE(thereBefore);
    EXPECT_FALSE(std::filesystem::exists(folder / "one.jpg"));
    EXPECT_FALSE(std::filesystem::exists(folder / "two.jpg"));
    EXPECT_TRUE(std::filesystem::exists(folder / "stranger.jpg"));
}
