#define KORV_CAMERA_BUILD
#include "library/include/korv_camera.h"

#include "library/api/messages.h"
#include "library/api/process_manager.h"
#include "library/base/exceptions_to_errors.h"
#include "library/base/log.h"
#include "library/image/opencv_threads.h"
#include "library/video/yuyv.h"
#include "library_version.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

using korv::Error;
using korv::exceptionsToErrors;
using korv::Manager;
using korv::processManager;
using korv::Result;

namespace {

void report(const char *function, const Error &error) noexcept
{
    try {
        korv::logLine(korv::LogLevel::Error, function,
                      error.text + " (" + std::to_string(error.code) + ")");
    } catch (...) { // no memory for the whole line
        korv::logLine(korv::LogLevel::Error, function, error.text);
    }
}

int numberOf(const Result<void> &)
{
    return 0;
}
int numberOf(const Result<int> &result)
{
    return result.value();
}

/// For entry points that answer with a number. No exception leaves the library.
template <typename Work> int guarded(const char *function, Work work) noexcept
{
    const auto result = exceptionsToErrors([&] { return work(processManager()); });
    if (result)
        return numberOf(result);
    report(function, result.error());
    return result.error().code;
}

/// For entry points that answer with a text: null instead of an error.
template <typename Work> char *guardedText(const char *function, Work work) noexcept
{
    Result<korv::MallocText> result = exceptionsToErrors([&] { return work(processManager()); });
    if (result)
        return result.value().release();
    report(function, result.error());
    return nullptr;
}

/// For entry points that change a device: the session, then one call of it.
template <typename Change> int guardedChange(const char *function, Change change) noexcept
{
    return guarded(function, [&](Manager &manager) -> Result<void> {
        auto session = manager.sessionForChange();
        if (!session)
            return session.error();
        return change(*session.value());
    });
}

Error nullPath()
{
    return Error{-EINVAL, "a path is null"};
}

} // namespace

// ---- library ----

int KorvCamera_GetVersion(char *buf, int size)
{
    if (!buf || size <= 0)
        return -EINVAL;
    const std::size_t length = std::strlen(korv::kVersionText);
    const std::size_t kept = std::min(length, static_cast<std::size_t>(size) - 1);
    std::memcpy(buf, korv::kVersionText, kept);
    buf[kept] = '\0';
    return static_cast<int>(length);
}

int KorvCamera_Init(void)
{
    return guarded(__func__, [](Manager &manager) {
        // OpenCV's threading library crashes when it is first used while memory is short
        korv::keepOpenCvInThisThread();
        return manager.initialise();
    });
}

int KorvCamera_UnInit(void)
{
    return guarded(__func__, [](Manager &manager) { return manager.uninitialise(); });
}

// ---- devices ----

int KorvCamera_GetDevCount(void)
{
    return guarded(__func__, [](Manager &manager) -> Result<int> {
        const auto session = manager.session();
        if (!session)
            return session.error();
        return static_cast<int>(session.value()->presentDevices().size());
    });
}

char *KorvCamera_GetOnLineDevList(void)
{
    return guardedText(__func__, [](Manager &manager) -> Result<korv::MallocText> {
        const auto session = manager.session();
        if (!session)
            return session.error();
        return korv::messages::deviceList(session.value()->presentDevices());
    });
}

char *KorvCamera_GetWorkDevList(void)
{
    return guardedText(__func__, [](Manager &manager) -> Result<korv::MallocText> {
        const auto session = manager.session();
        if (!session)
            return session.error();
        return korv::messages::deviceList(session.value()->openDevices());
    });
}

int KorvCamera_Open(int index)
{
    return guardedChange(__func__, [=](korv::Session &session) { return session.open(index); });
}

int KorvCamera_Close(int index)
{
    return guardedChange(__func__, [=](korv::Session &session) { return session.close(index); });
}

char *KorvCamera_GetResolutionList(int index)
{
    return guardedText(__func__, [=](Manager &manager) -> Result<korv::MallocText> {
        const auto session = manager.session();
        if (!session)
            return session.error();
        const auto modes = session.value()->modes(index);
        if (!modes)
            return modes.error();
        return korv::messages::resolutionList(modes.value());
    });
}

int KorvCamera_GetCurResolutionNo(int index)
{
    return guarded(__func__, [=](Manager &manager) -> Result<int> {
        const auto session = manager.session();
        if (!session)
            return session.error();
        return session.value()->currentMode(index);
    });
}

int KorvCamera_SetCurResolutionNo(int index, int res_no)
{
    return guardedChange(__func__,
                         [=](korv::Session &session) { return session.selectMode(index, res_no); });
}

int KorvCamera_StartCapture(int index, KorvCamera_FrameCallback cb)
{
    if (!cb)
        return -EINVAL;
    return guardedChange(__func__,
                         [=](korv::Session &session) { return session.startCapture(index, cb); });
}

int KorvCamera_StopCapture(int index)
{
    return guardedChange(__func__,
                         [=](korv::Session &session) { return session.stopCapture(index); });
}

int KorvCamera_RegCallBackCameraChange(KorvCamera_ChangeCallback cb)
{
    return guardedChange(__func__, [=](korv::Session &session) -> Result<void> {
        session.setReceiver(cb);
        return {};
    });
}

// ---- options of photographs and files ----

int KorvCamera_SetImageColorStyle(int color)
{
    return guarded(__func__, [=](Manager &manager) { return manager.setColour(color); });
}

int KorvCamera_SetImageJPGQuality(int quality)
{
    return guarded(__func__, [=](Manager &manager) { return manager.setQuality(quality); });
}

int KorvCamera_SetAutoCrop(int mode)
{
    return guarded(__func__, [=](Manager &manager) { return manager.setCrop(mode); });
}

int KorvCamera_SetImageRotateMode(int mode)
{
    return guarded(__func__, [=](Manager &manager) { return manager.setRotation(mode); });
}

// ---- pictures and files ----

int KorvCamera_YuYv422toRGB24(unsigned char *src, unsigned char *dst, unsigned int width,
                              unsigned int height, unsigned int /*reserved*/)
{
    return guarded(__func__, [=](Manager &) { return korv::yuyvToRgb(src, dst, width, height); });
}

int KorvCamera_SaveVideoData(void *data, int width, int height, int /*reserved*/, const char *path)
{
    return guarded(__func__, [=](Manager &manager) -> Result<void> {
        if (!path)
            return nullPath();
        return manager.savePhotograph(data, width, height, path);
    });
}

int KorvCamera_SaveRGB888Image(char *data, int width, int height, int /*reserved*/,
                               const char *path)
{
    return guarded(__func__, [=](Manager &manager) -> Result<void> {
        if (!path)
            return nullPath();
        return manager.saveRgb(data, width, height, path);
    });
}

int KorvCamera_ConvertImagetoImage(const char *src, const char *dst)
{
    return guarded(__func__, [=](Manager &manager) -> Result<void> {
        if (!src || !dst)
            return nullPath();
        return manager.convert(src, dst);
    });
}

int KorvCamera_AddImageFiletoMultiFile(const char *src)
{
    return guarded(__func__, [=](Manager &manager) -> Result<void> {
        if (!src)
            return nullPath();
        return manager.addPage(src);
    });
}

int KorvCamera_CombineMultiFile(const char *dst)
{
    return guarded(__func__, [=](Manager &manager) -> Result<void> {
        if (!dst)
            return nullPath();
        return manager.combine(dst);
    });
}
