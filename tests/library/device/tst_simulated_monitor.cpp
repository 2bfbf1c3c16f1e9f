#include "library/device/simulated/simulated_monitor.h"

#include "tests/library/support/shortage.h"
#include "tests/library/support/temporary_folder.h"
#include "tests/library/support/wait.h"
#include "tests/support/surroundings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <mutex>
#include <sys/syscall.h>
#include <thread>

namespace fs = std::filesystem;

using korv::readCameraFolderName;
using korv::SimulatedMonitor;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::becomesTrue;
using testing_support::makeFolder;
using testing_support::TemporaryFolder;

namespace {

class Observer : public korv::DeviceObserver
{
public:
    void onArrival(const korv::DeviceIdentity &device) override
    {
        note("+" + device.name + " " + std::to_string(device.vid) + " "
             + std::to_string(device.pid));
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lastKey = device.key;
    }
    void onDeparture(const std::string &key) override { note("-" + key); }

    std::vector<std::string> soFar()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_notes;
    }
    std::string lastKey()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_lastKey;
    }
    bool hears(const std::vector<std::string> &expected)
    {
        return becomesTrue([&] { return soFar().size() >= expected.size(); })
            && soFar() == expected;
    }

private:
    void note(std::string text)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_notes.push_back(std::move(text));
    }

    std::mutex m_mutex;
    std::vector<std::string> m_notes;
    std::string m_lastKey;
};

class SimulatedMonitorTest : public testing::Test
{
protected:
    TemporaryFolder m_desk;
    Observer m_observer;
};

} // namespace

TEST(cameraFolderName, idsAreHexadecimalInEitherCase)
{
    const auto read = readCameraFolderName("04f2:B0aD Cam 4K");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->vid, 0x04F2);
    EXPECT_EQ(read->pid, 0xB0AD);
    EXPECT_EQ(read->name, "Cam 4K");
}

TEST(cameraFolderName, missingNameBecomesOne)
{
    EXPECT_EQ(readCameraFolderName("0001:0002")->name, "USB Camera");
    EXPECT_EQ(readCameraFolderName("0001:0002 ")->name, "USB Camera");
}

TEST(cameraFolderName, nameIsMadeUsable)
{
    EXPECT_EQ(readCameraFolderName("0001:0002 A,B")->name, "A B");
    EXPECT_EQ(readCameraFolderName("0001:0002 " + std::string(90, 'n'))->name.size(), 63U);
}

TEST(cameraFolderName, otherNamesAreNoCameras)
{
    for (const char *name :
         {"", "pages", "1:2 Cam", "0001-0002 Cam", "0001:0002Cam", "0001:002 Cam", "00g1:0002 Cam",
          "0001:000", "0x01:0002 Cam", " 0001:0002 Cam"})
        EXPECT_FALSE(readCameraFolderName(name)) << name;
}

TEST_F(SimulatedMonitorTest, camerasPresentAreReportedByNameBeforeStartReturns)
{
    makeFolder(m_desk / "0002:0001 Second");
    makeFolder(m_desk / "0001:0001 First");
    SimulatedMonitor monitor(m_desk.path());
    ASSERT_TRUE(monitor.start(m_observer));
    EXPECT_THAT(m_observer.soFar(), ElementsAre("+First 1 1", "+Second 2 1"));
}

TEST_F(SimulatedMonitorTest, makingAFolderPlugsInAndRemovingItPulls)
{
    SimulatedMonitor monitor(m_desk.path());
    ASSERT_TRUE(monitor.start(m_observer));
    makeFolder(m_desk / "0001:0002 Cam");
    ASSERT_TRUE(m_observer.hears({"+Cam 1 2"}));
    testing_support::writeFile(m_desk / "0001:0002 Cam/page.jpg", std::string("no picture"));
    fs::remove_all(m_desk / "0001:0002 Cam");
    EXPECT_TRUE(m_observer.hears({"+Cam 1 2", "-0001:0002 Cam"}));
}

TEST_F(SimulatedMonitorTest, movingInAndAwayCountsAsPluggingAndPulling)
{
    TemporaryFolder elsewhere;
    makeFolder(elsewhere / "0001:0002 Cam");
    SimulatedMonitor monitor(m_desk.path());
    ASSERT_TRUE(monitor.start(m_observer));
    fs::rename(elsewhere / "0001:0002 Cam", m_desk / "0001:0002 Cam");
    ASSERT_TRUE(m_observer.hears({"+Cam 1 2"}));
    fs::rename(m_desk / "0001:0002 Cam", m_desk / "0001:0002 Other");
    ASSERT_TRUE(m_observer.hears({"+Cam 1 2", "-0001:0002 Cam", "+Other 1 2"}));
    fs::rename(m_desk / "0001:0002 Other", elsewhere / "away");
    EXPECT_TRUE(m_observer.hears({"+Cam 1 2", "-0001:0002 Cam", "+Other 1 2", "-0001:0002 Other"}));
}

TEST_F(SimulatedMonitorTest, everyArrivalHasOneDepartureHoweverQuick)
{
    SimulatedMonitor monitor(m_desk.path());
    ASSERT_TRUE(monitor.start(m_observer));
    for (int round = 0; round < 200; ++round) {
        makeFolder(m_desk / "0001:0002 Cam");
        fs::remove(m_desk / "0001:0002 Cam");
    }
    makeFolder(m_desk / "0009:0009 Last");
    ASSERT_TRUE(becomesTrue([&] {
        const auto notes = m_observer.soFar();
        return !notes.empty() && notes.back() == "+Last 9 9";
    }));
    const auto notes = m_observer.soFar();
    for (std::size_t at = 0; at + 1 < notes.size(); ++at)
        EXPECT_EQ(notes[at], at % 2 == 0 ? "+Cam 1 2" : "-0001:0002 Cam") << at;
}

TEST_F(SimulatedMonitorTest, whatIsNoCameraIsPassedOver)
{
    makeFolder(m_desk / "pages");
    makeFolder(m_desk / ".0001:0002 hidden");
    testing_support::writeFile(m_desk / "0001:0002 a file", std::string("x"));
    SimulatedMonitor monitor(m_desk.path());
    ASSERT_TRUE(monitor.start(m_observer));
    makeFolder(m_desk / "more pages");
    makeFolder(m_desk / "0001:0003 Cam");
    EXPECT_TRUE(m_observer.hears({"+Cam 1 3"}));
}

TEST_F(SimulatedMonitorTest, missingDeskHasNoCameras)
{
    SimulatedMonitor monitor(m_desk / "nowhere");
    EXPECT_TRUE(monitor.start(m_observer));
    EXPECT_THAT(m_observer.soFar(), IsEmpty());
}

TEST_F(SimulatedMonitorTest, picturesWithoutACameraFolderAreExplained)
{
    testing_support::writeFile(m_desk / "page.JPG", std::string("x"));
    SimulatedMonitor monitor(m_desk.path());
    testing::internal::CaptureStderr();
    ASSERT_TRUE(monitor.start(m_observer));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr(m_desk.path() + ": the pictures in it are not used"));
    EXPECT_THAT(log, HasSubstr("each sub-folder is a camera"));
    EXPECT_THAT(log, HasSubstr("1209:0001"));
}

TEST_F(SimulatedMonitorTest, picturesBesideACameraNeedNoExplanation)
{
    testing_support::writeFile(m_desk / "page.jpg", std::string("x"));
    makeFolder(m_desk / "0001:0002 Cam");
    SimulatedMonitor monitor(m_desk.path());
    testing::internal::CaptureStderr();
    ASSERT_TRUE(monitor.start(m_observer));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
}

TEST_F(SimulatedMonitorTest, shortageOfDescriptorsDelaysTheCameras)
{
    if (testing_support::kThreadsTakeDescriptors)
        GTEST_SKIP() << "this sanitizer needs descriptors of its own";
    makeFolder(m_desk / "0001:0001 Cam");
    SimulatedMonitor monitor(m_desk.path());
    testing::internal::CaptureStderr();
    {
        const testing_support::DescriptorShortage shortage(2); // eventfd, inotify; no scan
        ASSERT_TRUE(monitor.start(m_observer));
        EXPECT_THAT(m_observer.soFar(), IsEmpty());
    }
    EXPECT_TRUE(m_observer.hears({"+Cam 1 1"}));
    makeFolder(m_desk / "0002:0001 Cam");
    EXPECT_TRUE(m_observer.hears({"+Cam 1 1", "+Cam 2 1"}));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Too many open files"));
}

TEST_F(SimulatedMonitorTest, limitOfWatchesStopsNoCamera)
{
    if (!support::canRefuseCalls())
        GTEST_SKIP() << "an emulator has no system call refused";
    makeFolder(m_desk / "0001:0001 Cam");
    testing::internal::CaptureStderr();
    // the refusal holds for this thread and those that it starts
    std::thread([&] {
        testing_support::refuseCall(SYS_inotify_init1, EMFILE);
        SimulatedMonitor monitor(m_desk.path());
        ASSERT_TRUE(monitor.start(m_observer));
        EXPECT_THAT(m_observer.soFar(), ElementsAre("+Cam 1 1"));
        makeFolder(m_desk / "0002:0001 Cam"); // seen without a watch, a little later
        EXPECT_TRUE(m_observer.hears({"+Cam 1 1", "+Cam 2 1"}));
        fs::remove(m_desk / "0001:0001 Cam");
        EXPECT_TRUE(m_observer.hears({"+Cam 1 1", "+Cam 2 1", "-0001:0001 Cam"}));
    }).join();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Too many open files"));
}

TEST_F(SimulatedMonitorTest, watchThatIsRefusedForNowComesLater)
{
    if (testing_support::kThreadsTakeDescriptors)
        GTEST_SKIP() << "this sanitizer needs descriptors of its own";
    makeFolder(m_desk / "0001:0001 Cam");
    testing::internal::CaptureStderr();
    {
        SimulatedMonitor monitor(m_desk.path());
        {
            const testing_support::DescriptorShortage shortage(1); // eventfd only
            ASSERT_TRUE(monitor.start(m_observer));
        }
        EXPECT_TRUE(m_observer.hears({"+Cam 1 1"}));
    } // what it says after the camera's arrival is said now
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("info: watching the desk " + m_desk.path() + " again"));
}

TEST_F(SimulatedMonitorTest, camerasLeaveWithTheirDesk)
{
    const std::string desk = m_desk / "desk";
    makeFolder(desk + "/0001:0001 Cam");
    makeFolder(desk + "/0002:0001 Cam");
    SimulatedMonitor monitor(desk);
    ASSERT_TRUE(monitor.start(m_observer));
    fs::rename(desk, m_desk / "moved");
    EXPECT_TRUE(m_observer.hears({"+Cam 1 1", "+Cam 2 1", "-0001:0001 Cam", "-0002:0001 Cam"}));
}

TEST_F(SimulatedMonitorTest, cameraThatLeftCannotBeOpened)
{
    makeFolder(m_desk / "0001:0002 Cam");
    SimulatedMonitor monitor(m_desk.path());
    ASSERT_TRUE(monitor.start(m_observer));
    const std::string key = m_observer.lastKey();
    EXPECT_TRUE(monitor.open(key));
    fs::remove(m_desk / "0001:0002 Cam");
    ASSERT_TRUE(m_observer.hears({"+Cam 1 2", "-0001:0002 Cam"}));
    EXPECT_EQ(monitor.open(key).code(), -ENODEV);
    EXPECT_EQ(monitor.open("never there").code(), -ENODEV);
}
