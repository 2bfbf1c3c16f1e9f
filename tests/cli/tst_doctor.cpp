#include "cli/doctor.h"
#include "cli/doctorlines.h"

#include "cli/advice/advice.h"
#include "cli/commands.h"
#include "tests/fakes/scripted_camera.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/surroundings.h"
#include "tests/support/temp_home.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace {

using cli::ExitCode;
using cli::SystemFolders;
using cli::UsbCamera;
using cli::VideoNodeInfo;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

/// A system made of files.
class DoctorSystem : public testing::Test
{
protected:
    DoctorSystem()
    {
        m_folders.dev = folder("dev");
        m_folders.usbDevices = folder("usb");
        m_folders.proc = folder("proc");
    }

    std::string folder(const std::string &name) const
    {
        const fs::path path = m_home.scratch() / name;
        fs::create_directories(path);
        return path.string();
    }

    static void write(const std::string &path, const std::string &text)
    {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path) << text << "\n";
    }

    void plug(const std::string &port, const std::string &driver)
    {
        const std::string device = m_folders.usbDevices + "/" + port;
        write(device + "/idVendor", "1b17");
        write(device + "/idProduct", "0211");
        write(device + "/product", "Cam");
        for (const char *interface : {":1.0", ":1.1"}) {
            write(device + interface + "/bInterfaceClass", "0e");
            if (!driver.empty())
                fs::create_symlink("../../drivers/" + driver, device + interface + "/driver");
        }
        write(device + ":1.2/bInterfaceClass", "01");
    }

    support::TempHome m_home;
    SystemFolders m_folders;
};

VideoNodeInfo pictureNode()
{
    VideoNodeInfo node;
    node.path = "/dev/video0";
    node.rights = {"video", true, false};
    node.isV4l2 = true;
    node.capturesVideo = true;
    node.card = "Cam: Cam";
    node.formats = {"MJPG", "YUYV"};
    node.usable = true;
    return node;
}

const UsbCamera kCamera{"1b17:0211", "Cam", "uvcvideo"};

} // namespace

// ---- the system ----

TEST_F(DoctorSystem, camerasAreListedOnceWithTheirDriver)
{
    plug("1-1", "uvcvideo");
    plug("1-2", "");
    write(m_folders.usbDevices + "/1-3:1.0/bInterfaceClass", "08");
    const auto cameras = cli::usbCameras(m_folders);
    ASSERT_EQ(cameras.size(), 2U);
    EXPECT_EQ(cameras[0].id, "1b17:0211");
    EXPECT_EQ(cameras[0].name, "Cam");
    EXPECT_EQ(cameras[0].driver, "uvcvideo");
    EXPECT_EQ(cameras[1].driver, "");
}

TEST_F(DoctorSystem, nodesAreListedByNumberWithWhoHasThemOpen)
{
    for (const char *name : {"video10", "video2", "video", "videox", "vbi0"})
        write(m_folders.dev + "/" + name, "");
    write(m_folders.proc + "/4711/comm", "cheese");
    fs::create_directories(m_folders.proc + "/4711/fd");
    fs::create_symlink(m_folders.dev + "/video2", m_folders.proc + "/4711/fd/5");
    const auto nodes = cli::videoNodes(m_folders);
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_EQ(nodes[0].path, m_folders.dev + "/video2");
    EXPECT_THAT(nodes[0].users, ElementsAre("cheese (4711)"));
    EXPECT_THAT(nodes[1].users, IsEmpty());
    EXPECT_FALSE(nodes[0].isV4l2); // it is a file
    EXPECT_THAT(cli::describe(nodes[0]), HasSubstr("is not a V4L2 device"));
}

TEST_F(DoctorSystem, nodesOfOthersAreFoundWithoutOpeningThem)
{
    constexpr uid_t kNobody = 65534;
    if (::geteuid() == 0 && !support::hasUser(kNobody))
        GTEST_SKIP() << "this name space has no user whom rights bind";
    for (const char *name : {"video0", "video1"})
        write(m_folders.dev + "/" + name, "");
    fs::permissions(m_folders.dev + "/video0", fs::perms(0060));
    fs::permissions(m_folders.dev + "/video1", fs::perms(0666));
    EXPECT_TRUE(cli::rightsOf(m_folders.dev + "/video0").groupMayOpen);
    EXPECT_TRUE(cli::rightsOf(m_folders.dev + "/video0").userIsMember);
    EXPECT_FALSE(cli::rightsOf(m_folders.dev + "/video7").groupMayOpen);
    const auto look = [&] {
        // nobody refuses root anything, so somebody else asks
        const fs::path outside = m_home.scratch().parent_path().parent_path();
        for (fs::path path = m_folders.dev; path != outside; path = path.parent_path())
            fs::permissions(path, fs::perms(0755));
        if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
            std::exit(2);
        const std::vector<std::string> wanted{m_folders.dev + "/video0"};
        std::exit(cli::forbiddenNodes(m_folders) == wanted ? 0 : 1);
    };
    EXPECT_EXIT(look(), testing::ExitedWithCode(0), "");
}

TEST_F(DoctorSystem, foldersThatDoNotExistHoldNothing)
{
    const SystemFolders nowhere{"/nowhere", "/nowhere", "/nowhere"};
    EXPECT_THAT(cli::usbCameras(nowhere), IsEmpty());
    EXPECT_THAT(cli::videoNodes(nowhere), IsEmpty());
}

// ---- conclusions ----

TEST(DoctorProblems, healthyCameraHasNone)
{
    VideoNodeInfo metadata = pictureNode();
    metadata.capturesVideo = false;
    EXPECT_THAT(cli::problemsOf({kCamera}, {pictureNode(), metadata}), IsEmpty());
    EXPECT_EQ(cli::describe(pictureNode()), "/dev/video0  Cam: Cam  MJPG YUYV");
    EXPECT_THAT(cli::describe(metadata), HasSubstr("no pictures"));
}

TEST(DoctorProblems, eachCauseIsNamed)
{
    EXPECT_THAT(cli::problemsOf({}, {}), ElementsAre(HasSubstr("no camera is plugged in")));
    EXPECT_THAT(cli::problemsOf({{"1b17:0211", "Cam", ""}}, {pictureNode()}),
                ElementsAre(HasSubstr("modprobe uvcvideo")));
    EXPECT_THAT(cli::problemsOf({{"1b17:0211", "Cam", ""}}, {}),
                ElementsAre(HasSubstr("modprobe uvcvideo")));
    EXPECT_THAT(cli::problemsOf({kCamera}, {}), ElementsAre(HasSubstr("no /dev/video node")));

    VideoNodeInfo forbidden = pictureNode();
    forbidden.openError = EACCES;
    VideoNodeInfo itsMetadata = forbidden;
    itsMetadata.path = "/dev/video1";
    EXPECT_THAT(cli::problemsOf({kCamera}, {forbidden, itsMetadata}),
                ElementsAre("/dev/video0 /dev/video1: this user may not open them; "
                            "`sudo adduser $USER video`, then log in again"));
    VideoNodeInfo useless = pictureNode();
    useless.usable = false;
    useless.formats = {"H264"};
    EXPECT_THAT(cli::problemsOf({kCamera}, {useless}), ElementsAre(HasSubstr("H264")));
    VideoNodeInfo busy = pictureNode();
    busy.busy = true;
    EXPECT_THAT(cli::problemsOf({kCamera}, {busy}), ElementsAre(HasSubstr("another program")));
    busy.users = {"cheese (4711)"};
    EXPECT_THAT(cli::problemsOf({kCamera}, {busy}), ElementsAre(HasSubstr("cheese (4711)")));
}

TEST(DoctorProblems, rightsThatWaitForALoginOrForTheAdministratorAreToldApart)
{
    VideoNodeInfo node = pictureNode();
    node.openError = EACCES;
    node.rights.userIsMember = true;
    EXPECT_THAT(cli::problemsOf({kCamera}, {node}),
                ElementsAre("/dev/video0: this user may not open it; the group video counts from "
                            "the next login on: log in again"));
    node.rights.groupMayOpen = false;
    EXPECT_THAT(cli::problemsOf({kCamera}, {node}), ElementsAre(HasSubstr("administrator")));
}

TEST(DoctorAdvice, knowsWhatToDoAboutTheUsualResults)
{
    EXPECT_THAT(cli::advice(-EBUSY), HasSubstr("another program"));
    EXPECT_THAT(cli::advice(-EACCES), HasSubstr("adduser"));
    EXPECT_THAT(cli::advice(-EIO), HasSubstr("unplug"));
    EXPECT_EQ(cli::advice(0), "");
    EXPECT_EQ(cli::advice(-ENOMEM), "");
}

// ---- the whole examination, against the scripted library ----

namespace {

class Doctor : public testing::Test
{
protected:
    Doctor()
    {
        fake_reset();
        fake_set_devices_json(R"([{"index":4,"name":"Desk","vid":6935,"pid":529}])");
        m_options.library = KORV_SCRIPTED_CAMERA;
        m_options.command = cli::Command::Doctor;
        m_options.timeoutMs = 300;
        // the machine's own cameras are not to be judged here
        ::setenv("KORV_CAMERA_DESK", "builtin", 1);
    }
    ~Doctor() override
    {
        ::unsetenv("KORV_CAMERA_DESK");
        fake_reset();
    }

    ExitCode run()
    {
        support::StdoutCapture output;
        const ExitCode code = cli::run(m_options);
        m_output = output.take();
        return code;
    }

    support::TempHome m_home;
    cli::Options m_options;
    std::string m_output;
};

} // namespace

TEST_F(Doctor, refusedOpenIsExplained)
{
    fake_set_result("Open", -EBUSY);
    EXPECT_EQ(run(), ExitCode::Failure);
    EXPECT_THAT(m_output, HasSubstr("Desk: cannot open it: another program is using the camera"));
}

TEST_F(Doctor, silentCameraIsItsOwnExitCode)
{
    EXPECT_EQ(run(), ExitCode::NoFrame);
    EXPECT_THAT(m_output, HasSubstr("no picture came"));
}

TEST_F(Doctor, noCameraIsItsOwnExitCode)
{
    fake_set_devices_json("[]");
    EXPECT_EQ(run(), ExitCode::NoDevice);
    EXPECT_THAT(m_output, HasSubstr("finds no camera"));
}

TEST_F(Doctor, workingCameraHasNoProblem)
{
    std::thread sender;
    std::atomic<bool> ending{false};
    struct Context
    {
        std::thread &sender;
        std::atomic<bool> &ending;
    } context{sender, ending};
    fake_set_hook(
        [](const char *name, const char *, void *raw) {
            Context &known = *static_cast<Context *>(raw);
            if (std::string(name) == "StartCapture") {
                known.sender = std::thread([&known] {
                    std::array<char, 16> frame = {};
                    while (!known.ending) {
                        fake_emit_frame(frame.data(), static_cast<int>(frame.size()), 640, 480);
                        std::this_thread::sleep_for(std::chrono::milliseconds(10));
                    }
                });
            }
            if (std::string(name) == "Close" && known.sender.joinable()) {
                known.ending = true;
                known.sender.join();
            }
        },
        &context);
    EXPECT_EQ(run(), ExitCode::Success) << m_output;
    EXPECT_THAT(m_output, HasSubstr("No problem found.\n"));
    EXPECT_THAT(m_output, HasSubstr("640x480"));
    EXPECT_THAT(m_output, HasSubstr("test photograph: OK"));
    EXPECT_THAT(m_output, Not(HasSubstr("Problems")));
}
