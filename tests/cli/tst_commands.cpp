#include "cli/commands.h"

#include "tests/fakes/scripted_camera.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace {

using cli::Command;
using cli::ExitCode;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr char kOneDevice[] = R"([{"index":4,"name":"Desk","vid":6935,"pid":529}])";

/// Runs commands against the scripted library, in this process, so that it can be scripted.
class Commands : public testing::Test
{
protected:
    Commands()
    {
        fake_reset();
        fake_set_devices_json(kOneDevice);
        m_options.library = KORV_SCRIPTED_CAMERA;
        m_options.timeoutMs = 300;
    }
    ~Commands() override { fake_reset(); }

    ExitCode run(Command command)
    {
        m_options.command = command;
        support::StdoutCapture output;
        testing::internal::CaptureStderr();
        const ExitCode code = cli::run(m_options);
        m_errors = testing::internal::GetCapturedStderr();
        m_output = output.take();
        return code;
    }

    /// Sends frames whenever the command starts a stream.
    void streamFrames(int count)
    {
        m_frames = count;
        fake_set_hook([](const char *name, const char *,
                         void *context) { static_cast<Commands *>(context)->onCall(name); },
                      this);
    }

    void onCall(const std::string &name)
    {
        // the callback is known only after the hook, hence the next call: saving, or closing
        if (name == "StartCapture")
            m_sender = std::thread([this] { sendFrames(); });
        if (name == "SaveVideoData") {
            ++m_saved;
            std::fputs(m_says.c_str(), stderr);
        }
        if (name == "Close" && m_sender.joinable())
            m_sender.join();
    }

    void sendFrames()
    {
        std::array<char, 16> frame = {};
        for (int sent = 0; sent < m_frames;) {
            // one at a time: a frame that comes before the last one was saved replaces it
            if (sent == m_saved
                && fake_emit_frame(frame.data(), static_cast<int>(frame.size()), 640, 480) >= 0)
                ++sent;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    support::TempHome m_home;
    cli::Options m_options;
    std::string m_output;
    std::string m_errors;
    std::string m_says; ///< what the library writes about a photograph
    int m_frames = 0;
    std::atomic<int> m_saved{0};
    std::thread m_sender;
};

TEST_F(Commands, outputHoldsNothingButTheAnswer)
{
    EXPECT_EQ(run(Command::List), ExitCode::Success);
    EXPECT_EQ(m_output, "4  1b17:0211  Desk\n");
    EXPECT_EQ(m_errors, "");
    EXPECT_STREQ(fake_calls(), "Init()\nGetOnLineDevList()\nUnInit()\n");
}

TEST_F(Commands, verboseShowsTheBindingsTraceOnTheErrorOutput)
{
    m_options.verbose = true;
    EXPECT_EQ(run(Command::List), ExitCode::Success);
    EXPECT_EQ(m_output, "4  1b17:0211  Desk\n");
    EXPECT_THAT(m_errors, HasSubstr("[LoadLib]load camera sdk success\n"));
}

TEST_F(Commands, noCameraIsItsOwnExitCode)
{
    fake_set_devices_json("[]");
    for (const Command command : {Command::List, Command::Modes, Command::Snap})
        EXPECT_EQ(run(command), ExitCode::NoDevice);
    EXPECT_EQ(m_errors, "korvcam: there is no camera; run `korvcam doctor` to find out why\n");
}

TEST_F(Commands, aCameraThatIsNotThereIsNoDevice)
{
    m_options.device = "0";
    EXPECT_EQ(run(Command::Modes), ExitCode::NoDevice);
    EXPECT_EQ(m_errors,
              "korvcam: there is no camera 0; `korvcam list` shows those that are there\n");
}

TEST_F(Commands, libraryThatDoesNotLoadSaysWhy)
{
    m_options.library = "/nowhere/library.so";
    EXPECT_EQ(run(Command::List), ExitCode::NoLibrary);
    EXPECT_EQ(m_errors,
              "korvcam: cannot load the camera library /nowhere/library.so: there is no such file; "
              "install the package korv-camera-open, or name the right library with --library\n");
    EXPECT_EQ(m_output, "");
}

TEST_F(Commands, failedInitEndsWithoutUnInit)
{
    fake_set_result("Init", -EMFILE);
    EXPECT_EQ(run(Command::List), ExitCode::Failure);
    EXPECT_STREQ(fake_calls(), "Init()\n");
    EXPECT_EQ(m_errors, "korvcam: cannot initialise the camera library: Too many open files\n");
}

TEST_F(Commands, modesMarkTheOneInUseAndCloseTheCamera)
{
    fake_set_resolution_json(
        R"([{"res-no":7,"res-w":1600,"res-h":1200},{"res-no":9,"res-w":640,"res-h":480}])");
    fake_set_result("GetCurResolutionNo", 9);
    EXPECT_EQ(run(Command::Modes), ExitCode::Success);
    EXPECT_EQ(m_output, "7  1600x1200\n9  640x480 *\n");
    EXPECT_THAT(fake_calls(), HasSubstr("Close(4)\nUnInit()\n"));
}

TEST_F(Commands, cameraThatDoesNotOpenIsNotClosed)
{
    fake_set_result("Open", -EBUSY);
    EXPECT_EQ(run(Command::Modes), ExitCode::Failure);
    EXPECT_EQ(m_errors,
              "korvcam: cannot open Desk: Device or resource busy\n"
              "korvcam: another program is using the camera; close it and try again\n");
    EXPECT_THAT(fake_calls(), Not(HasSubstr("Close")));
}

TEST_F(Commands, snapSetsOptionsThenSavesWhatCame)
{
    streamFrames(1);
    m_options.destination = (m_home.scratch() / "a.jpg").string();
    m_options.resolution = cli::Resolution{640, 480};
    m_options.quality = 70;
    m_options.crop = 0;
    m_options.rotation = 2;
    m_options.color = 1;
    EXPECT_EQ(run(Command::Snap), ExitCode::Success) << m_errors;
    EXPECT_EQ(m_output, m_options.destination + "\n");
    EXPECT_EQ(support::readFile(m_options.destination), "scripted photograph\n");
    EXPECT_THAT(fake_calls(),
                MatchesRegex("Init\\(\\)\nGetOnLineDevList\\(\\)\nOpen\\(4\\)\n"
                             "GetResolutionList\\(4\\)\nSetCurResolutionNo\\(4,0\\)\n"
                             "SetImageJPGQuality\\(70\\)\nSetAutoCrop\\(0\\)\n"
                             "SetImageRotateMode\\(2\\)\nSetImageColorStyle\\(1\\)\n"
                             "StartCapture\\(4,callback\\)\n"
                             "SaveVideoData\\(data,640,480,0,.*/a\\.jpg\\)\n"
                             "Close\\(4\\)\nUnInit\\(\\)\n"));
}

TEST_F(Commands, everyPhotographIsAFrameOfItsOwn)
{
    streamFrames(2);
    m_options.destination = (m_home.scratch() / "a.jpg").string();
    m_options.count = 3;
    EXPECT_EQ(run(Command::Snap), ExitCode::NoFrame);
    EXPECT_TRUE(std::filesystem::exists(m_home.scratch() / "a-0001.jpg"));
    EXPECT_TRUE(std::filesystem::exists(m_home.scratch() / "a-0002.jpg"));
    EXPECT_FALSE(std::filesystem::exists(m_home.scratch() / "a-0003.jpg"));
}

TEST_F(Commands, silentCameraIsItsOwnExitCode)
{
    m_options.destination = (m_home.scratch() / "a.jpg").string();
    EXPECT_EQ(run(Command::Snap), ExitCode::NoFrame);
    EXPECT_EQ(m_errors,
              "korvcam: the camera sent no picture in 0 s; run `korvcam doctor` to find out why\n");
    EXPECT_THAT(fake_calls(), HasSubstr("Close(4)\n"));
}

TEST_F(Commands, unknownResolutionStartsNoStream)
{
    m_options.destination = "a.jpg";
    m_options.resolution = cli::Resolution{641, 480};
    EXPECT_EQ(run(Command::Snap), ExitCode::Failure);
    EXPECT_THAT(m_errors, HasSubstr("does not offer 641x480"));
    EXPECT_THAT(fake_calls(), Not(HasSubstr("StartCapture")));
}

TEST_F(Commands, photographThatIsNotSavedIsAFailure)
{
    streamFrames(1);
    m_options.destination = (m_home.scratch() / "a.jpg").string();
    fake_set_result("SaveVideoData", -ENOSPC);
    EXPECT_EQ(run(Command::Snap), ExitCode::Failure);
    EXPECT_EQ(m_errors,
              "korvcam: cannot save " + m_options.destination + ": No space left on device\n");
    EXPECT_EQ(m_output, "");
    EXPECT_TRUE(std::filesystem::is_empty(m_home.scratch()));
}

TEST_F(Commands, blurredPhotographIsNamed)
{
    streamFrames(1);
    m_says = "korvcamera: warning: the photograph is out of focus: its writing is blurred by 4.0 "
             "pixels\n";
    m_options.destination = (m_home.scratch() / "a.jpg").string();
    EXPECT_EQ(run(Command::Snap), ExitCode::Success);
    EXPECT_EQ(m_output, m_options.destination + "\n");
    EXPECT_EQ(m_errors,
              "korvcam: " + m_options.destination
                  + ": out of focus; its writing is hard to read\n");
}

TEST_F(Commands, focusIsExaminedOnlyForCommandsThatReportIt)
{
    std::string seen;
    const auto examined = [&](Command command, const std::string &destination) {
        const support::ScopedVariable variable("KORV_CAMERA_CHECK_FOCUS", std::nullopt);
        seen.clear();
        fake_set_hook(
            [](const char *name, const char *, void *text) {
                const char *const value = std::getenv("KORV_CAMERA_CHECK_FOCUS");
                if (std::string(name) == "Init" && value)
                    *static_cast<std::string *>(text) = value;
            },
            &seen);
        m_options.destination = (m_home.scratch() / destination).string();
        m_options.pages = 1;
        static_cast<void>(run(command));
        return seen;
    };
    EXPECT_EQ(examined(Command::Snap, "a.jpg"), "yes");
    EXPECT_EQ(examined(Command::Scan, "p%d.jpg"), "no") << "scan does it, later";
    EXPECT_EQ(examined(Command::Doctor, ""), "yes");
    for (const Command command : {Command::List, Command::Modes, Command::Calibrate})
        EXPECT_EQ(examined(command, ""), "");
}

TEST_F(Commands, cleanReachesTheLibrary)
{
    const support::ScopedVariable photographs("KORV_CAMERA_CLEAN", std::nullopt);
    const support::ScopedVariable files("KORV_CAMERA_CLEAN_FILES", std::nullopt);
    m_options.sources = {"1.jpg"};
    m_options.destination = (m_home.scratch() / "c.png").string();
    m_options.clean = true;
    std::string seen = (m_home.scratch() / "seen").string();
    fake_set_hook(
        [](const char *name, const char *, void *file) {
            if (std::string(name) == "ConvertImagetoImage")
                std::ofstream(*static_cast<std::string *>(file))
                    << std::getenv("KORV_CAMERA_CLEAN_FILES");
        },
        &seen);
    static_cast<void>(run(Command::Convert));
    EXPECT_EQ(support::readFile(seen), "yes");
    fake_reset();
    fake_set_devices_json(kOneDevice);
    EXPECT_EQ(run(Command::List), ExitCode::Success);
    EXPECT_STREQ(std::getenv("KORV_CAMERA_CLEAN"), "yes");
}

TEST_F(Commands, folderThatIsNotThereStartsNoStream)
{
    m_options.destination = "/nowhere/a.jpg";
    EXPECT_EQ(run(Command::Snap), ExitCode::Failure);
    EXPECT_EQ(m_errors, "korvcam: cannot save /nowhere/a.jpg: there is no folder /nowhere\n");
    EXPECT_THAT(fake_calls(), Not(HasSubstr("Open")));
}

TEST_F(Commands, convertPassesTheNamesOn)
{
    m_options.sources = {m_home.write("a b.jpg", "content").string()};
    m_options.destination = (m_home.scratch() / "c.png").string();
    EXPECT_EQ(run(Command::Convert), ExitCode::Success);
    EXPECT_EQ(support::readFile(m_options.destination), "content");
    EXPECT_EQ(m_output, m_options.destination + "\n");

    fake_set_result("ConvertImagetoImage", -EBADMSG);
    EXPECT_EQ(run(Command::Convert), ExitCode::Failure);
    EXPECT_THAT(m_errors, HasSubstr("a b.jpg is not a picture that can be read: damaged, or"));
    fake_set_result("ConvertImagetoImage", -ENOSPC);
    EXPECT_EQ(run(Command::Convert), ExitCode::Failure);
    EXPECT_THAT(m_errors, StartsWith("korvcam: cannot convert "));
    EXPECT_THAT(m_errors, EndsWith("c.png: No space left on device\n"));
}

TEST_F(Commands, fileThatTheLibraryOnlyClaimsIsAFailure)
{
    m_options.sources = {(m_home.scratch() / "a.jpg").string()};
    m_options.destination = (m_home.scratch() / "c.png").string();
    fake_set_hook(
        [](const char *name, const char *path, void *) {
            // the stand-in cannot write where there is a folder
            if (std::string(name) == "ConvertImagetoImage")
                std::filesystem::create_directory(path);
        },
        nullptr);
    EXPECT_EQ(run(Command::Convert), ExitCode::Failure);
    EXPECT_EQ(m_errors,
              "korvcam: the camera library wrote no " + m_options.destination
                  + ", and did not say why\n");
    EXPECT_EQ(m_output, "");
    EXPECT_TRUE(std::filesystem::is_empty(m_home.scratch()));
}

TEST_F(Commands, combinePassesThePagesOnInTheirOrder)
{
    m_options.sources = {"1.jpg", "2.jpg"};
    m_options.destination = (m_home.scratch() / "c.pdf").string();
    EXPECT_EQ(run(Command::Combine), ExitCode::Success);
    EXPECT_EQ(m_output, m_options.destination + "\n");
    EXPECT_EQ(support::readFile(m_options.destination), "1.jpg\n2.jpg\n");
}

TEST_F(Commands, combineGoesOnWithoutAPageThatCannotBeAdded)
{
    m_options.sources = {"1.jpg", "2.jpg", "3.jpg"};
    m_options.destination = (m_home.scratch() / "c.pdf").string();
    fake_queue_result("AddImageFiletoMultiFile", 0);
    fake_queue_result("AddImageFiletoMultiFile", -ENOENT);
    EXPECT_EQ(run(Command::Combine), ExitCode::Failure);
    EXPECT_EQ(m_errors,
              "korvcam: 2.jpg: No such file or directory\n"
              "korvcam: the other pages were written\n");
    EXPECT_EQ(m_output, m_options.destination + "\n");
    EXPECT_EQ(support::readFile(m_options.destination), "1.jpg\n3.jpg\n");
}

TEST_F(Commands, strictCombineWritesNothingThen)
{
    m_options.sources = {"1.jpg", "2.jpg"};
    m_options.destination = (m_home.scratch() / "c.pdf").string();
    m_options.strict = true;
    fake_queue_result("AddImageFiletoMultiFile", 0);
    fake_queue_result("AddImageFiletoMultiFile", -ENOENT);
    EXPECT_EQ(run(Command::Combine), ExitCode::Failure);
    EXPECT_EQ(m_errors,
              "korvcam: 2.jpg: No such file or directory\n"
              "korvcam: nothing was written, because of --strict\n");
    EXPECT_EQ(m_output, "");
    EXPECT_TRUE(std::filesystem::is_empty(m_home.scratch()));
}

/// The contract lets a library find a page unreadable only when it writes the document: the others
/// are in it, the result is that page's error, and nothing says whose.
TEST_F(Commands, pageThatTurnsOutBadWhileTheDocumentIsWrittenIsFound)
{
    m_options.sources = {m_home.write("1.jpg", "1").string(), m_home.write("2.jpg", "2").string()};
    // the name that the search for the page would like best
    m_options.destination = (m_home.scratch() / "page.pdf").string();
    fake_set_result("CombineMultiFile", -EBADMSG);
    fake_queue_result("ConvertImagetoImage", 0);
    fake_queue_result("ConvertImagetoImage", -EBADMSG);
    fake_set_hook(
        [](const char *name, const char *path, void *) {
            if (std::string(name) == "CombineMultiFile")
                std::ofstream(path) << "the good page";
        },
        nullptr);
    EXPECT_EQ(run(Command::Combine), ExitCode::Failure);
    EXPECT_THAT(m_errors, StartsWith("korvcam: " + m_options.sources[1] + " is not a picture"));
    EXPECT_THAT(m_errors, EndsWith("korvcam: the other pages were written\n"));
    EXPECT_EQ(m_output, m_options.destination + "\n");
    EXPECT_EQ(support::readFile(m_options.destination), "the good page");

    m_options.destination = (m_home.scratch() / "d.pdf").string();
    m_options.strict = true;
    fake_queue_result("ConvertImagetoImage", 0);
    fake_queue_result("ConvertImagetoImage", -EBADMSG);
    EXPECT_EQ(run(Command::Combine), ExitCode::Failure);
    EXPECT_EQ(m_output, "");
    EXPECT_FALSE(std::filesystem::exists(m_options.destination));
}

TEST_F(Commands, compactAndUprightPagesReachTheLibrary)
{
    const support::ScopedVariable compact("KORV_CAMERA_COMPACT", std::nullopt);
    const support::ScopedVariable upright("KORV_CAMERA_UPRIGHT", std::nullopt);
    m_options.sources = {"1.jpg"};
    m_options.destination = (m_home.scratch() / "c.pdf").string();
    m_options.compact = true;
    m_options.upright = true;
    std::string seen = (m_home.scratch() / "seen").string();
    fake_set_hook(
        [](const char *name, const char *, void *file) {
            if (std::string(name) == "Init")
                std::ofstream(*static_cast<std::string *>(file))
                    << std::getenv("KORV_CAMERA_COMPACT") << std::getenv("KORV_CAMERA_UPRIGHT");
        },
        &seen);
    EXPECT_EQ(run(Command::Combine), ExitCode::Success);
    EXPECT_EQ(support::readFile(seen), "yesyes");
    EXPECT_EQ(std::getenv("KORV_CAMERA_COMPACT"), nullptr);
    EXPECT_EQ(std::getenv("KORV_CAMERA_UPRIGHT"), nullptr);
}

TEST_F(Commands, titleAndPageSizeReachTheLibrary)
{
    const support::ScopedVariable title("KORV_CAMERA_TITLE", std::nullopt);
    const support::ScopedVariable size("KORV_CAMERA_PAGE_SIZE", std::nullopt);
    m_options.sources = {"1.jpg"};
    m_options.destination = (m_home.scratch() / "c.pdf").string();
    m_options.title = "A Title";
    m_options.pageSize = "210x297";
    std::string seen = (m_home.scratch() / "seen").string();
    fake_set_hook(
        [](const char *name, const char *, void *file) {
            if (std::string(name) == "Init")
                std::ofstream(*static_cast<std::string *>(file))
                    << std::getenv("KORV_CAMERA_TITLE") << std::getenv("KORV_CAMERA_PAGE_SIZE");
        },
        &seen);
    EXPECT_EQ(run(Command::Combine), ExitCode::Success);
    EXPECT_EQ(support::readFile(seen), "A Title210x297");
    EXPECT_EQ(std::getenv("KORV_CAMERA_TITLE"), nullptr);
}

TEST_F(Commands, watchPrintsEventsAndEndsAtTheLimit)
{
    m_options.maximumEvents = 2;
    const auto emit = [&] {
        const auto send = [](const char *json) {
            while (fake_emit_hotplug(json) < 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
        };
        send(R"({"action":"add","index":1,"name":"Desk","vid":6935,"pid":529})");
        send("not json");
        send(R"({"action":"remove","index":1,"name":"Desk","vid":6935,"pid":529})");
    };
    std::thread sender(emit);
    EXPECT_EQ(run(Command::Watch), ExitCode::Success);
    sender.join();
    EXPECT_EQ(m_output, "add  1  1b17:0211  Desk\nremove  1  1b17:0211  Desk\n");
    EXPECT_STREQ(fake_calls(),
                 "Init()\nRegCallBackCameraChange(callback)\n"
                 "RegCallBackCameraChange(null)\nUnInit()\n");
}

TEST_F(Commands, watchEndsAfterItsTime)
{
    m_options.durationMs = 50;
    EXPECT_EQ(run(Command::Watch), ExitCode::Success);
    EXPECT_EQ(m_output, "");
}

} // namespace
