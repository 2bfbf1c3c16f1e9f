#include "library/api/monitors.h"

#include "library/device/simulated/builtin_monitor.h"
#include "library/device/simulated/hands/hand_monitor.h"
#include "library/device/simulated/simulated_monitor.h"
#include "library/device/udev/node_rights.h"
#include "library/device/udev/udev_monitor.h"
#include "tests/library/fakes/v4l2_fixture.h"
#include "tests/library/support/temporary_folder.h"
#include "tests/support/surroundings.h"

#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace korv;
using testing::HasSubstr;
using testing_support::secondsOf;

namespace {

constexpr uid_t kNobody = 65534;

class Monitors : public testing::Test
{
protected:
    void TearDown() override { choose(nullptr, nullptr); }

    static void set(const char *name, const char *value)
    {
        if (value)
            ::setenv(name, value, 1);
        else
            ::unsetenv(name);
    }

    /// The kinds of monitors for an environment: b built-in, h one with hands, s simulated, r real.
    static std::string choose(const char *desk, const char *real)
    {
        set("KORV_CAMERA_DESK", desk);
        set("KORV_CAMERA_REAL", real);
        std::string kinds;
        for (const auto &monitor : availableMonitors({})) {
            if (dynamic_cast<BuiltinMonitor *>(monitor.get()))
                kinds += 'b';
            else if (dynamic_cast<HandMonitor *>(monitor.get()))
                kinds += 'h';
            else if (dynamic_cast<SimulatedMonitor *>(monitor.get()))
                kinds += 's';
            else if (dynamic_cast<UdevMonitor *>(monitor.get()))
                kinds += 'r';
        }
        return kinds;
    }
};

class Ignorant : public DeviceObserver
{
public:
    void onArrival(const DeviceIdentity &) override { }
    void onDeparture(const std::string &) override { }
};

} // namespace

TEST_F(Monitors, realCamerasAreUsedWhereThereIsNoDesk)
{
    EXPECT_EQ(choose(nullptr, nullptr), "r");
    EXPECT_EQ(choose("", ""), "r");
    EXPECT_EQ(choose("builtin", nullptr), "b");
    EXPECT_EQ(choose("/some/folder", nullptr), "s");
}

TEST_F(Monitors, handsTurnThePagesOfADeskThatAsksForThem)
{
    EXPECT_EQ(choose("builtin:hands", nullptr), "h");
    EXPECT_EQ(choose("builtin:hands,seed=4,light=dim", "1"), "hr");
    EXPECT_EQ(choose("./builtin:hands", nullptr), "s");
}

TEST_F(Monitors, deskThatIsNotKnownIsNamedAndHasNoCamera)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(choose("builtin:feet", nullptr), "");
    EXPECT_EQ(choose("builtin:hands,seed=x", nullptr), "");
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("KORV_CAMERA_DESK: there is no built-in desk 'feet'"));
    EXPECT_THAT(said, HasSubstr("'seed=x'"));
}

TEST_F(Monitors, realCamerasCanBeAskedForAndRefused)
{
    EXPECT_EQ(choose("builtin", "1"), "br");
    EXPECT_EQ(choose("/some/folder", "1"), "sr");
    EXPECT_EQ(choose(nullptr, "0"), "");
    EXPECT_EQ(choose("builtin", "0"), "b");
}

TEST_F(Monitors, watchingTheMachineStartsAndEndsInTime)
{
    Ignorant observer;
    auto monitor = std::make_unique<UdevMonitor>();
    EXPECT_EQ(monitor->open("nothing").code(), -ENODEV);
    EXPECT_LT(secondsOf([&] { EXPECT_TRUE(monitor->start(observer)); }), 1.0);
    EXPECT_EQ(monitor->open("nothing").code(), -ENODEV);
    EXPECT_LT(secondsOf([&] { monitor.reset(); }), 1.0);
}

TEST(NodeRights, missingNodeIsNamed)
{
    EXPECT_THAT(whyNotToOpen("/nowhere/video0"), HasSubstr("No such file"));
}

TEST(NodeRights, nodeThatMayBeOpenedIsInUse)
{
    const testing_support::TemporaryFolder folder;
    const std::string node = folder / "video0";
    ::close(::open(node.c_str(), O_CREAT | O_CLOEXEC, 0600));
    EXPECT_THAT(whyNotToOpen(node), HasSubstr("another program"));
}

// Whoever has been added to the group stays outside of it until the next login.
TEST(NodeRights, loginBeforeJoiningTheGroupIsTold)
{
    if (::geteuid() != 0 || !support::hasUser(kNobody))
        GTEST_SKIP() << "needs root, to become a user with other groups than the system lists";
    const testing_support::TemporaryFolder folder;
    const std::string node = folder / "video0";
    ::close(::open(node.c_str(), O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::chown(node.c_str(), 0, kNobody), 0); // the user's own group, by the list
    ASSERT_EQ(::chmod(node.c_str(), 0660), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    const auto answers = [&](gid_t group, const std::string &wanted) {
        if (::setgroups(0, nullptr) != 0 || ::setgid(group) != 0 || ::setuid(kNobody) != 0)
            std::exit(2);
        std::exit(whyNotToOpen(node) == wanted ? 0 : 1);
    };
    const std::string name = ::getgrgid(kNobody)->gr_name;
    EXPECT_EXIT(answers(kNobody + 1000,
                        "no permission: the group " + name
                            + " counts from the next login on: log in again"),
                testing::ExitedWithCode(0), "");
    EXPECT_EXIT(answers(kNobody, "is busy; another program may be using it"),
                testing::ExitedWithCode(0), "");
}

TEST(NodeRights, missingGroupIsNamed)
{
    if (::geteuid() == 0 && !support::hasUser(kNobody))
        GTEST_SKIP() << "this name space has no user whom rights bind";
    const testing_support::TemporaryFolder folder;
    const std::string node = folder / "video0";
    ::close(::open(node.c_str(), O_CREAT | O_CLOEXEC, 0600));
    const auto says = [&](mode_t mode, const char *wanted) {
        // nobody refuses root anything, so somebody else asks
        ::chmod(folder.path().c_str(), 0755);
        ::chmod(node.c_str(), mode);
        if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
            std::exit(2);
        std::exit(whyNotToOpen(node).find(wanted) == std::string::npos ? 1 : 0);
    };
    EXPECT_EXIT(says(0060, "adduser"), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(says(0, "not accessible to any group"), testing::ExitedWithCode(0), "");
}
