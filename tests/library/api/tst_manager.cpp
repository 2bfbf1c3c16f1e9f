#include "tests/library/api/manager_fixture.h"

#include "library/api/callback_scope.h"

#include <limits>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using korv::CallbackScope;
using korv::Manager;

using ManagerLife = ManagerTest;
using ManagerOptions = ManagerTest;

TEST_F(ManagerLife, nothingButOptionsAndFilesWorksBeforeInitialisation)
{
    EXPECT_EQ(m_manager.session().code(), -ENODEV);
    EXPECT_EQ(m_manager.uninitialise().code(), -ENODEV);
    EXPECT_TRUE(m_manager.setQuality(50));
    EXPECT_EQ(m_manager.combine(m_folder / "x.pdf").code(), -ENODATA);
}

TEST_F(ManagerLife, secondInitialisationIsHarmless)
{
    ASSERT_TRUE(m_manager.initialise());
    const auto first = m_manager.session().value();
    EXPECT_TRUE(m_manager.initialise());
    EXPECT_EQ(m_manager.session().value(), first);
}

TEST_F(ManagerLife, initialisesAgainAfterTheEnd)
{
    for (int round = 1; round <= 3; ++round) {
        ASSERT_TRUE(m_manager.initialise());
        EXPECT_TRUE(m_manager.uninitialise());
        EXPECT_EQ(m_backend.ended, round);
        EXPECT_EQ(m_manager.session().code(), -ENODEV);
    }
}

TEST_F(ManagerLife, settingsAreReadByEachInitialisationAndForgottenAtTheEnd)
{
    int readings = 0;
    Manager manager([](const korv::Settings &) { return korv::Session::Monitors(); },
                    [&] {
                        korv::Settings settings;
                        settings.title = std::to_string(++readings);
                        return settings;
                    });
    EXPECT_EQ(manager.settings()->title, "");
    for (const char *title : {"1", "2"}) {
        ASSERT_TRUE(manager.initialise());
        ASSERT_TRUE(manager.initialise());
        const auto kept = manager.settings();
        EXPECT_EQ(kept->title, title);
        ASSERT_TRUE(manager.uninitialise());
        EXPECT_EQ(manager.settings()->title, "");
        EXPECT_EQ(kept->title, title);
    }
}

TEST_F(ManagerLife, failingMonitorFailsInitialisationAndTheNextMaySucceed)
{
    m_backend.startError = -EMFILE;
    EXPECT_EQ(m_manager.initialise().code(), -EMFILE);
    EXPECT_EQ(m_manager.session().code(), -ENODEV);
    m_backend.startError = 0;
    EXPECT_TRUE(m_manager.initialise());
}

TEST_F(ManagerLife, exceptionDuringInitialisationLeavesItUninitialised)
{
    bool fails = true;
    Manager manager([&](const korv::Settings &) -> korv::Session::Monitors {
        if (fails)
            throw std::system_error(EAGAIN, std::generic_category());
        return {};
    });
    EXPECT_THROW(static_cast<void>(manager.initialise()), std::system_error);
    fails = false;
    EXPECT_TRUE(manager.initialise());
}

TEST_F(ManagerLife, callsThatWaitForCallbacksAreRefusedInsideOfThem)
{
    ASSERT_TRUE(m_manager.initialise());
    {
        const CallbackScope scope(CallbackScope::Kind::Frame);
        EXPECT_EQ(m_manager.uninitialise().code(), -EDEADLK);
        EXPECT_EQ(m_manager.initialise().code(), -EDEADLK);
        EXPECT_EQ(m_manager.sessionForChange().code(), -EDEADLK);
        EXPECT_TRUE(m_manager.session());
    }
    {
        const CallbackScope scope(CallbackScope::Kind::DeviceEvent);
        EXPECT_EQ(m_manager.uninitialise().code(), -EDEADLK);
        EXPECT_TRUE(m_manager.sessionForChange());
    }
    EXPECT_TRUE(m_manager.uninitialise());
}

TEST_F(ManagerLife, concurrentBeginningsAndEndsDoNotMix)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([this] {
            for (int round = 0; round < 50; ++round) {
                EXPECT_TRUE(m_manager.initialise());
                const auto session = m_manager.session();
                if (session)
                    session.value()->presentDevices();
                const int code = m_manager.uninitialise().code();
                EXPECT_TRUE(code == 0 || code == -ENODEV) << code;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(m_manager.session().code(), -ENODEV);
}

// ---- options ----

TEST_F(ManagerOptions, startWithTheDefaults)
{
    const korv::PhotographOptions options = m_manager.options();
    EXPECT_EQ(options.quality, 95);
    EXPECT_EQ(options.crop, korv::CropMode::Off);
    EXPECT_EQ(options.rotation, korv::Rotation::None);
    EXPECT_EQ(options.colour, korv::ColourStyle::Colour);
}

TEST_F(ManagerOptions, valuesInRangeAreKept)
{
    EXPECT_TRUE(m_manager.setQuality(1));
    EXPECT_TRUE(m_manager.setQuality(100));
    EXPECT_TRUE(m_manager.setCrop(0));
    EXPECT_TRUE(m_manager.setRotation(3));
    EXPECT_TRUE(m_manager.setColour(2));
    EXPECT_EQ(m_manager.options().quality, 100);
    EXPECT_EQ(m_manager.options().crop, korv::CropMode::Auto);
    EXPECT_EQ(m_manager.options().rotation, korv::Rotation::Half);
    EXPECT_EQ(m_manager.options().colour, korv::ColourStyle::Lineart);
}

TEST_F(ManagerOptions, valuesOutOfRangeChangeNothing)
{
    ASSERT_TRUE(m_manager.setQuality(60));
    ASSERT_TRUE(m_manager.setCrop(0));
    ASSERT_TRUE(m_manager.setRotation(2));
    ASSERT_TRUE(m_manager.setColour(1));
    constexpr int kLowest = std::numeric_limits<int>::min();
    constexpr int kHighest = std::numeric_limits<int>::max();
    for (const int value : {0, -1, 101, kLowest, kHighest})
        EXPECT_EQ(m_manager.setQuality(value).code(), -EINVAL) << value;
    for (const int value : {-2, 1, 2, kLowest, kHighest})
        EXPECT_EQ(m_manager.setCrop(value).code(), -EINVAL) << value;
    for (const int value : {-1, 4, kLowest, kHighest})
        EXPECT_EQ(m_manager.setRotation(value).code(), -EINVAL) << value;
    for (const int value : {-1, 3, kLowest, kHighest})
        EXPECT_EQ(m_manager.setColour(value).code(), -EINVAL) << value;
    EXPECT_EQ(m_manager.options().quality, 60);
    EXPECT_EQ(m_manager.options().crop, korv::CropMode::Auto);
    EXPECT_EQ(m_manager.options().rotation, korv::Rotation::Right90);
    EXPECT_EQ(m_manager.options().colour, korv::ColourStyle::Gray);
}

TEST_F(ManagerOptions, endOfTheLibraryForgetsThem)
{
    ASSERT_TRUE(m_manager.initialise());
    ASSERT_TRUE(m_manager.setQuality(20));
    ASSERT_TRUE(m_manager.setColour(1));
    ASSERT_TRUE(m_manager.uninitialise());
    EXPECT_EQ(m_manager.options().quality, 95);
    EXPECT_EQ(m_manager.options().colour, korv::ColourStyle::Colour);
}
