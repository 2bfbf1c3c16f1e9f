#include "tests/fakes/scripted_camera.h"

#include "library/include/korv_camera.h"
#include "tests/support/temp_home.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <thread>

// The stand-in is what the window's tests are built on, so it gets tests too.

namespace {

std::string lastEvent;
std::thread::id eventThread;

void keepEvent(char *json)
{
    lastEvent = json;
    eventThread = std::this_thread::get_id();
    std::free(json);
}

int sumOfFrame(void *data, int size, int width, int height)
{
    return static_cast<char *>(data)[0] + size + width * height;
}

class ScriptedCamera : public testing::Test
{
protected:
    ScriptedCamera()
    {
        fake_reset();
        lastEvent.clear();
        eventThread = {};
    }

    support::TempHome home;
    const std::string target = (home.scratch() / "target").string();
};

} // namespace

TEST_F(ScriptedCamera, queuedResultsComeBeforeTheStandingOne)
{
    fake_set_result("Open", 7);
    fake_queue_result("Open", -19);
    fake_queue_result("Open", -16);
    EXPECT_EQ(KorvCamera_Open(0), -19);
    EXPECT_EQ(KorvCamera_Open(0), -16);
    EXPECT_EQ(KorvCamera_Open(0), 7);
    EXPECT_EQ(KorvCamera_Close(0), 0);
    fake_clear_calls();
    EXPECT_STREQ(fake_calls(), "");
    EXPECT_EQ(KorvCamera_Open(1), 7);
    EXPECT_STREQ(fake_calls(), "Open(1)\n");
}

TEST_F(ScriptedCamera, eventsReachTheReceiver)
{
    EXPECT_EQ(fake_emit_hotplug("{}"), -1);
    KorvCamera_RegCallBackCameraChange(keepEvent);
    EXPECT_EQ(fake_emit_hotplug("{\"a\":1}"), 0);
    EXPECT_EQ(lastEvent, "{\"a\":1}");
    EXPECT_EQ(eventThread, std::this_thread::get_id());
    EXPECT_EQ(fake_emit_hotplug_on_thread("{\"b\":2}"), 0);
    EXPECT_EQ(lastEvent, "{\"b\":2}");
    EXPECT_NE(eventThread, std::this_thread::get_id());
}

TEST_F(ScriptedCamera, framesComeWhileADeviceStreams)
{
    char frame[] = {1};
    EXPECT_EQ(fake_emit_frame(frame, 1, 2, 3), -1);
    fake_queue_result("StartCapture", -5);
    KorvCamera_StartCapture(0, sumOfFrame);
    EXPECT_EQ(fake_emit_frame(frame, 1, 2, 3), -1);
    KorvCamera_StartCapture(0, sumOfFrame);
    EXPECT_EQ(fake_emit_frame(frame, 1, 2, 3), 8);
    EXPECT_EQ(fake_emit_frame_on_thread(frame, 1, 2, 3), 8);
    KorvCamera_Close(1);
    EXPECT_EQ(fake_emit_frame(frame, 1, 2, 3), 8);
    KorvCamera_Close(0);
    EXPECT_EQ(fake_emit_frame(frame, 1, 2, 3), -1);
}

TEST_F(ScriptedCamera, photographsAreFiles)
{
    char data[1] = {};
    KorvCamera_SaveVideoData(data, 1, 1, 0, target.c_str());
    EXPECT_EQ(support::readFile(target), "scripted photograph\n");
    fake_set_photograph("ab\0c", 4);
    KorvCamera_SaveVideoData(data, 1, 1, 0, target.c_str());
    EXPECT_EQ(support::readFile(target), std::string("ab\0c", 4));
}

TEST_F(ScriptedCamera, failureWritesNoFile)
{
    const std::string source = home.write("source", "content").string();
    for (const char *name :
         {"SaveVideoData", "SaveRGB888Image", "ConvertImagetoImage", "CombineMultiFile"})
        fake_set_result(name, -28);
    char data[1] = {};
    EXPECT_EQ(KorvCamera_SaveVideoData(data, 1, 1, 0, target.c_str()), -28);
    EXPECT_EQ(KorvCamera_SaveRGB888Image(data, 1, 1, 0, target.c_str()), -28);
    EXPECT_EQ(KorvCamera_ConvertImagetoImage(source.c_str(), target.c_str()), -28);
    EXPECT_EQ(KorvCamera_CombineMultiFile(target.c_str()), -28);
    EXPECT_FALSE(std::filesystem::exists(target));
}

TEST_F(ScriptedCamera, documentsNameTheirPages)
{
    const std::string source = home.write("source", "content").string();
    KorvCamera_ConvertImagetoImage(source.c_str(), target.c_str());
    EXPECT_EQ(support::readFile(target), "content");
    KorvCamera_AddImageFiletoMultiFile("/a");
    KorvCamera_AddImageFiletoMultiFile("/b");
    KorvCamera_CombineMultiFile(target.c_str());
    EXPECT_EQ(support::readFile(target), "/a\n/b\n");
    KorvCamera_CombineMultiFile(target.c_str());
    EXPECT_EQ(support::readFile(target), "");
}

TEST_F(ScriptedCamera, hookSeesEveryCallBeforeItsEffect)
{
    std::string seen;
    fake_set_hook(
        [](const char *name, const char *path, void *context) {
            auto &text = *static_cast<std::string *>(context);
            text += std::string(name) + ":" + path + (std::filesystem::exists(path) ? " there" : "")
                + ";";
        },
        &seen);
    char data[1] = {};
    KorvCamera_Open(0);
    KorvCamera_SaveVideoData(data, 1, 1, 0, target.c_str());
    KorvCamera_ConvertImagetoImage(target.c_str(), target.c_str());
    fake_set_hook(nullptr, nullptr);
    KorvCamera_Close(0);
    EXPECT_EQ(seen, "Open:;SaveVideoData:" + target + ";ConvertImagetoImage:" + target + " there;");
}
