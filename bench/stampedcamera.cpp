// Stands between the window and the camera library and tells of each frame on its way: the window
// finds this StartCapture, and every other function in the library that this one is linked to.

#include "bench/arrivals.h"
#include "library/include/korv_camera.h"

#include <cerrno>
#include <dlfcn.h>

namespace {

KorvCamera_FrameCallback window = nullptr;

int pass(void *data, int size, int width, int height)
{
    benchFrameComes();
    const int answer = window(data, size, width, height);
    benchFrameCame(data, size, width, height);
    return answer;
}

} // namespace

int KorvCamera_StartCapture(int index, KorvCamera_FrameCallback callback)
{
    using StartCapture = int (*)(int, KorvCamera_FrameCallback);
    window = callback;
    const auto start = reinterpret_cast<StartCapture>(dlsym(RTLD_NEXT, "KorvCamera_StartCapture"));
    return start ? start(index, callback ? &pass : nullptr) : -ENOSYS;
}
