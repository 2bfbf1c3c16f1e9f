#include "tests/fakes/scripted_camera.h"

#include "library/include/korv_camera.h"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

struct Script
{
    std::map<std::string, int> results;
    std::map<std::string, std::deque<int>> queues;
    std::optional<std::string> resolutions = R"([{"res-no":0,"res-w":640,"res-h":480}])";
    std::string devices = "[]";
    std::string photograph = "scripted photograph\n";
    std::string calls;
    std::vector<std::string> pending;
    fake_hook hook = nullptr;
    void *hookContext = nullptr;
    KorvCamera_ChangeCallback changed = nullptr;
    KorvCamera_FrameCallback framed = nullptr;
    int streaming = -1;
};

std::mutex scriptMutex;
Script script;

template <typename Function> auto locked(Function function)
{
    const std::lock_guard<std::mutex> guard{scriptMutex};
    return function();
}

std::string shown(int value)
{
    return std::to_string(value);
}

std::string shown(unsigned int value)
{
    return std::to_string(value);
}

std::string shown(const char *text)
{
    return text != nullptr ? text : "null";
}

std::string data(const void *pointer)
{
    return pointer != nullptr ? "data" : "null";
}

template <typename Result, typename... Arguments> std::string callback(Result (*f)(Arguments...))
{
    return f != nullptr ? "callback" : "null";
}

std::string joined(const std::vector<std::string> &arguments)
{
    std::string text;
    for (const std::string &argument : arguments)
        text += (text.empty() ? "" : ",") + argument;
    return text;
}

/// Records a call, lets the test's hook look on, and finds the call's result.
int called(const char *name, const std::vector<std::string> &arguments = {}, const char *path = "")
{
    fake_hook hook = nullptr;
    void *context = nullptr;
    const int result = locked([&] {
        script.calls += std::string(name) + "(" + joined(arguments) + ")\n";
        hook = script.hook;
        context = script.hookContext;
        std::deque<int> &queue = script.queues[name];
        if (queue.empty())
            return script.results[name];
        const int next = queue.front();
        queue.pop_front();
        return next;
    });
    if (hook != nullptr)
        hook(name, path != nullptr ? path : "", context);
    return result;
}

void writeFile(const char *path, const std::string &content)
{
    if (path != nullptr)
        std::ofstream{path, std::ios::binary} << content;
}

std::string readFile(const char *path)
{
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, std::istreambuf_iterator<char>{}};
}

int emitHotplug(const char *json)
{
    const auto receiver = locked([] { return script.changed; });
    if (receiver == nullptr)
        return -1;
    receiver(strdup(json));
    return 0;
}

int emitFrame(void *frame, int size, int width, int height)
{
    const auto receiver = locked([] { return script.framed; });
    return receiver != nullptr ? receiver(frame, size, width, height) : -1;
}

void endStream(int index)
{
    locked([&] {
        if (script.streaming == index)
            script.framed = nullptr;
    });
}

} // namespace

#define EXPORTED __attribute__((visibility("default")))

extern "C" {

EXPORTED void fake_reset()
{
    locked([] { script = {}; });
}

EXPORTED void fake_set_result(const char *name, int value)
{
    locked([&] { script.results[name] = value; });
}

EXPORTED void fake_queue_result(const char *name, int value)
{
    locked([&] { script.queues[name].push_back(value); });
}

EXPORTED void fake_set_devices_json(const char *text)
{
    locked([&] { script.devices = text; });
}

EXPORTED void fake_set_resolution_json(const char *text)
{
    locked([&] {
        script.resolutions = text != nullptr ? std::optional<std::string>{text} : std::nullopt;
    });
}

EXPORTED void fake_set_photograph(const void *bytes, int size)
{
    locked([&] {
        script.photograph.assign(static_cast<const char *>(bytes), static_cast<std::size_t>(size));
    });
}

EXPORTED const char *fake_calls()
{
    thread_local std::string snapshot;
    snapshot = locked([] { return script.calls; });
    return snapshot.c_str();
}

EXPORTED void fake_clear_calls()
{
    locked([] { script.calls.clear(); });
}

EXPORTED void fake_set_hook(fake_hook hook, void *context)
{
    locked([&] {
        script.hook = hook;
        script.hookContext = context;
    });
}

EXPORTED int fake_emit_hotplug(const char *json)
{
    return emitHotplug(json);
}

EXPORTED int fake_emit_hotplug_on_thread(const char *json)
{
    int result = -1;
    std::thread{[&] { result = emitHotplug(json); }}.join();
    return result;
}

EXPORTED int fake_emit_frame(void *frame, int size, int width, int height)
{
    return emitFrame(frame, size, width, height);
}

EXPORTED int fake_emit_frame_on_thread(void *frame, int size, int width, int height)
{
    int result = -1;
    std::thread{[&] { result = emitFrame(frame, size, width, height); }}.join();
    return result;
}

EXPORTED int KorvCamera_GetVersion(char *buf, int size)
{
    const int result = called("GetVersion", {data(buf), shown(size)});
    if (buf != nullptr && size > 0)
        std::strncpy(buf, "scripted", static_cast<std::size_t>(size));
    return result;
}

EXPORTED int KorvCamera_Init()
{
    return called("Init");
}

EXPORTED int KorvCamera_UnInit()
{
    return called("UnInit");
}

EXPORTED int KorvCamera_GetDevCount()
{
    return called("GetDevCount");
}

EXPORTED char *KorvCamera_GetOnLineDevList()
{
    if (called("GetOnLineDevList") < 0)
        return nullptr;
    return locked([] { return strdup(script.devices.c_str()); });
}

EXPORTED char *KorvCamera_GetWorkDevList()
{
    return called("GetWorkDevList") < 0 ? nullptr : strdup("[]");
}

EXPORTED int KorvCamera_Open(int index)
{
    return called("Open", {shown(index)});
}

EXPORTED int KorvCamera_Close(int index)
{
    const int result = called("Close", {shown(index)});
    endStream(index);
    return result;
}

EXPORTED char *KorvCamera_GetResolutionList(int index)
{
    const int result = called("GetResolutionList", {shown(index)});
    const auto text = locked([] { return script.resolutions; });
    return result < 0 || !text ? nullptr : strdup(text->c_str());
}

EXPORTED int KorvCamera_GetCurResolutionNo(int index)
{
    return called("GetCurResolutionNo", {shown(index)});
}

EXPORTED int KorvCamera_SetCurResolutionNo(int index, int res_no)
{
    return called("SetCurResolutionNo", {shown(index), shown(res_no)});
}

EXPORTED int KorvCamera_StartCapture(int index, KorvCamera_FrameCallback cb)
{
    const int result = called("StartCapture", {shown(index), callback(cb)});
    if (result >= 0) {
        locked([&] {
            script.framed = cb;
            script.streaming = index;
        });
    }
    return result;
}

EXPORTED int KorvCamera_StopCapture(int index)
{
    const int result = called("StopCapture", {shown(index)});
    endStream(index);
    return result;
}

EXPORTED int KorvCamera_RegCallBackCameraChange(KorvCamera_ChangeCallback cb)
{
    const int result = called("RegCallBackCameraChange", {callback(cb)});
    if (result >= 0)
        locked([&] { script.changed = cb; });
    return result;
}

EXPORTED int KorvCamera_SetImageColorStyle(int color)
{
    return called("SetImageColorStyle", {shown(color)});
}

EXPORTED int KorvCamera_SetImageJPGQuality(int quality)
{
    return called("SetImageJPGQuality", {shown(quality)});
}

EXPORTED int KorvCamera_SetAutoCrop(int mode)
{
    return called("SetAutoCrop", {shown(mode)});
}

EXPORTED int KorvCamera_SetImageRotateMode(int mode)
{
    return called("SetImageRotateMode", {shown(mode)});
}

EXPORTED int KorvCamera_YuYv422toRGB24(unsigned char *src, unsigned char *dst, unsigned int width,
                                       unsigned int height, unsigned int reserved)
{
    return called("YuYv422toRGB24",
                  {data(src), data(dst), shown(width), shown(height), shown(reserved)});
}

EXPORTED int KorvCamera_SaveVideoData(void *frame, int width, int height, int reserved,
                                      const char *path)
{
    const int result =
        called("SaveVideoData",
               {data(frame), shown(width), shown(height), shown(reserved), shown(path)}, path);
    if (result >= 0)
        writeFile(path, locked([] { return script.photograph; }));
    return result;
}

EXPORTED int KorvCamera_SaveRGB888Image(char *pixels, int width, int height, int reserved,
                                        const char *path)
{
    const int result =
        called("SaveRGB888Image",
               {data(pixels), shown(width), shown(height), shown(reserved), shown(path)}, path);
    if (result >= 0)
        writeFile(path, locked([] { return script.photograph; }));
    return result;
}

EXPORTED int KorvCamera_ConvertImagetoImage(const char *src, const char *dst)
{
    const int result = called("ConvertImagetoImage", {shown(src), shown(dst)}, dst);
    if (result >= 0 && src != nullptr)
        writeFile(dst, readFile(src));
    return result;
}

EXPORTED int KorvCamera_AddImageFiletoMultiFile(const char *src)
{
    const int result = called("AddImageFiletoMultiFile", {shown(src)}, src);
    if (result >= 0 && src != nullptr)
        locked([&] { script.pending.emplace_back(src); });
    return result;
}

EXPORTED int KorvCamera_CombineMultiFile(const char *dst)
{
    const int result = called("CombineMultiFile", {shown(dst)}, dst);
    const auto pages = locked([] { return std::exchange(script.pending, {}); });
    if (result >= 0) {
        std::string content;
        for (const std::string &page : pages)
            content += page + "\n";
        writeFile(dst, content);
    }
    return result;
}

} // extern "C"
