// A program whose life and the library's end in unusual ways; tst_life.cpp runs it.
//
// Usage: life-program LIBRARY SCENARIO [PICTURE]. Status 0: all went as the contract says; 1: the line
// on standard error says what did not. A hang or a signal is a failure too.
#include "library/include/korv_camera.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void *library = nullptr;
std::string picture; // NOLINT(cert-err58-cpp): of the first moment
std::atomic<int> frames{0};

template <typename Function> Function *entry(const char *name)
{
    auto *const found = reinterpret_cast<Function *>(::dlsym(library, name));
    if (found == nullptr) {
        std::fprintf(stderr, "no %s\n", name);
        ::_exit(1);
    }
    return found;
}
#define CALL(name) (*entry<decltype(name)>(#name))

void expect(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    ::_exit(1);
}
#define EXPECT(condition) expect(condition, #condition)

void waitForFrames(int count)
{
    for (int i = 0; i < 3000 && frames < count; ++i)
        ::usleep(10'000);
    EXPECT(frames >= count);
}

int countFrame(void *, int, int, int)
{
    ++frames;
    return 0;
}

int exitOnFrame(void *, int, int, int)
{
    std::exit(0);
}

/// Ends the process while main waits for this very call to return.
int exitOnFrameSlowly(void *, int, int, int)
{
    ++frames;
    ::usleep(300'000);
    std::exit(0);
}

void exitOnEvent(char *json)
{
    std::free(json);
    std::exit(0);
}

void start(KorvCamera_FrameCallback receiver)
{
    EXPECT(CALL(KorvCamera_Init)() == 0);
    EXPECT(CALL(KorvCamera_Open)(0) == 0);
    const int modes = 5; // of the simulated desk: a small one
    CALL(KorvCamera_SetCurResolutionNo)(0, modes);
    EXPECT(CALL(KorvCamera_StartCapture)(0, receiver) == 0);
}

/// What the contract says of a library that is not initialised, except for Init.
void expectNotInitialised()
{
    EXPECT(CALL(KorvCamera_GetDevCount)() == -ENODEV);
    EXPECT(CALL(KorvCamera_GetOnLineDevList)() == nullptr);
    EXPECT(CALL(KorvCamera_GetWorkDevList)() == nullptr);
    EXPECT(CALL(KorvCamera_GetResolutionList)(0) == nullptr);
    EXPECT(CALL(KorvCamera_GetCurResolutionNo)(0) == -ENODEV);
    EXPECT(CALL(KorvCamera_SetCurResolutionNo)(0, 5) == -ENODEV);
    EXPECT(CALL(KorvCamera_Open)(0) == -ENODEV);
    EXPECT(CALL(KorvCamera_Close)(0) == -ENODEV);
    EXPECT(CALL(KorvCamera_StartCapture)(0, countFrame) == -ENODEV);
    EXPECT(CALL(KorvCamera_StopCapture)(0) == -ENODEV);
    EXPECT(CALL(KorvCamera_RegCallBackCameraChange)(nullptr) == -ENODEV);
    EXPECT(CALL(KorvCamera_UnInit)() == -ENODEV);
    char version[8];
    EXPECT(CALL(KorvCamera_GetVersion)(version, 8) > 0);
}

/// A frame's bytes with the room behind them that the library may read.
std::vector<char> frameOf(const std::string &path)
{
    std::vector<char> frame(std::size_t{320} * 240 * 3);
    std::FILE *file = std::fopen(path.c_str(), "rb");
    EXPECT(file != nullptr);
    EXPECT(std::fread(frame.data(), 1, frame.size(), file) > 0);
    std::fclose(file);
    return frame;
}

/// Pixels are turned where coefficients cannot be, and for a PNG of a picture that lies on its side.
void expectPixelsAreTurned(const std::string &sideways, const char *suffix)
{
    std::vector<char> frame = frameOf(sideways);
    EXPECT(CALL(KorvCamera_SaveVideoData)(frame.data(), 319, 239, 0,
                                          (sideways + suffix + "p.jpg").c_str())
           == 0);
    EXPECT(
        CALL(KorvCamera_ConvertImagetoImage)(sideways.c_str(), (sideways + suffix + ".png").c_str())
        == 0);
    unsigned char yuyv[4] = {235, 128, 235, 128};
    unsigned char rgb[6] = {};
    EXPECT(CALL(KorvCamera_YuYv422toRGB24)(yuyv, rgb, 2, 1, 0) == 0);
    EXPECT(rgb[5] == 255);
}

void expectOptionsAndFilesWork(const char *suffix, bool pictureLibraryIsThere = true)
{
    EXPECT(CALL(KorvCamera_SetImageColorStyle)(0) == 0);
    EXPECT(CALL(KorvCamera_SetImageJPGQuality)(60) == 0);
    EXPECT(CALL(KorvCamera_SetImageRotateMode)(1) == 0);
    EXPECT(CALL(KorvCamera_SetAutoCrop)(0) == 0);
    std::vector<char> frame = frameOf(picture);
    EXPECT(CALL(KorvCamera_SaveVideoData)(frame.data(), 320, 240, 0,
                                          (picture + suffix + "p.jpg").c_str())
           == (pictureLibraryIsThere ? 0 : -ENODEV));
    EXPECT(CALL(KorvCamera_SetAutoCrop)(-1) == 0);
    EXPECT(CALL(KorvCamera_SaveVideoData)(frame.data(), 320, 240, 0,
                                          (picture + suffix + "q.jpg").c_str())
           == 0);
    expectPixelsAreTurned(picture + ".sideways.jpg", suffix);
    for (const char *format : {".png", ".pdf"})
        EXPECT(CALL(KorvCamera_ConvertImagetoImage)(picture.c_str(),
                                                    (picture + suffix + format).c_str())
               == 0);
    EXPECT(CALL(KorvCamera_AddImageFiletoMultiFile)(picture.c_str()) == 0);
    EXPECT(CALL(KorvCamera_CombineMultiFile)((picture + suffix + "m.pdf").c_str()) == 0);
}

/// Calls the library when everything that was made after it is gone already.
struct AfterMain
{
    ~AfterMain()
    {
        if (!wanted)
            return;
        expectNotInitialised();
        EXPECT(CALL(KorvCamera_Init)() == -ENODEV);
        expectOptionsAndFilesWork("after", false);
        std::fputs("after main\n", stderr);
    }
    bool wanted = false;
};
AfterMain afterMain;

/// The status of a child that does `work` and calls exit(); it gets a few seconds.
template <typename Work> void expectChildEnds(Work work)
{
    const pid_t child = ::fork();
    EXPECT(child >= 0);
    if (child == 0) {
        ::alarm(20);
        work();
        std::exit(0);
    }
    int status = -1;
    EXPECT(::waitpid(child, &status, 0) == child);
    EXPECT(status == 0);
}

int forkOnFrame(void *, int, int, int)
{
    if (frames++ == 0) {
        expectChildEnds([] {
            EXPECT(CALL(KorvCamera_GetDevCount)() == -ENODEV);
            EXPECT(CALL(KorvCamera_Init)() == -EDEADLK);
        });
        frames = 100;
    }
    return 0;
}

void run(const std::string &scenario)
{
    if (scenario == "exit-in-frame") {
        start(exitOnFrame);
        ::pause();
    } else if (scenario == "exit-in-frame-awaited") {
        start(exitOnFrameSlowly);
        waitForFrames(1);
        CALL(KorvCamera_UnInit)();
        ::pause();
    } else if (scenario == "exit-in-event") {
        EXPECT(CALL(KorvCamera_Init)() == 0);
        EXPECT(CALL(KorvCamera_RegCallBackCameraChange)(exitOnEvent) == 0);
        ::pause();
    } else if (scenario == "exit-in-frame-then-call") {
        afterMain.wanted = true;
        start(exitOnFrame);
        ::pause();
    } else if (scenario == "fork") {
        start(countFrame);
        waitForFrames(2);
        expectChildEnds([] {});
        expectChildEnds([] {
            expectNotInitialised();
            expectOptionsAndFilesWork("child");
            frames = 0;
            start(countFrame);
            waitForFrames(2);
        });
        waitForFrames(frames + 2);
        EXPECT(CALL(KorvCamera_UnInit)() == 0);
    } else if (scenario == "fork-in-frame") {
        start(forkOnFrame);
        waitForFrames(101);
    } else if (scenario == "return-while-streaming") {
        start(countFrame);
        waitForFrames(1);
    } else if (scenario == "call-after-main") {
        afterMain.wanted = true;
        start(countFrame);
        waitForFrames(1);
    } else if (scenario == "unload") {
        start(countFrame);
        waitForFrames(1);
        EXPECT(::dlclose(library) == 0);
        ::sleep(3); // the driver comes back meanwhile
    } else {
        expect(false, "a known scenario");
    }
}

} // namespace

int main(int count, char **arguments)
{
    EXPECT(count > 2);
    library = ::dlopen(arguments[1], RTLD_NOW);
    if (library == nullptr)
        std::fprintf(stderr, "%s\n", ::dlerror());
    EXPECT(library != nullptr);
    if (count > 3)
        picture = arguments[3];
    run(arguments[2]);
    return 0;
}
