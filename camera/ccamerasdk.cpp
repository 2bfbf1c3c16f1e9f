#include "camera/ccamerasdk.h"

#include <cstdio>
#include <dlfcn.h>
#include <iterator>

namespace {

using EntryPoints = CCameraSDK::EntryPoints;

struct Lookup
{
    const char *symbol;
    bool (*resolve)(EntryPoints &entryPoints, void *library, const char *symbol);
};

template <auto Member> bool resolve(EntryPoints &entryPoints, void *library, const char *symbol)
{
    auto &pointer = entryPoints.*Member;
    pointer = reinterpret_cast<std::decay_t<decltype(pointer)>>(dlsym(library, symbol));
    return pointer != nullptr;
}

#define ENTRY(name)                                                                                \
    {                                                                                              \
        "KorvCamera_" #name, &resolve<&EntryPoints::name>                                          \
    }

constexpr Lookup kLookupOrder[] = {
    ENTRY(Init),
    ENTRY(UnInit),
    ENTRY(GetVersion),
    ENTRY(GetDevCount),
    ENTRY(GetOnLineDevList),
    ENTRY(GetWorkDevList),
    ENTRY(Open),
    ENTRY(Close),
    ENTRY(GetResolutionList),
    ENTRY(GetCurResolutionNo),
    ENTRY(SetCurResolutionNo),
    ENTRY(SetImageColorStyle),
    ENTRY(SetImageJPGQuality),
    ENTRY(SetAutoCrop),
    ENTRY(SetImageRotateMode),
    ENTRY(YuYv422toRGB24),
    ENTRY(SaveVideoData),
    ENTRY(SaveRGB888Image),
    ENTRY(ConvertImagetoImage),
    ENTRY(CombineMultiFile),
    ENTRY(AddImageFiletoMultiFile),
    ENTRY(StartCapture),
    ENTRY(StopCapture),
    ENTRY(RegCallBackCameraChange),
};

#undef ENTRY

static_assert(std::size(kLookupOrder) == sizeof(EntryPoints) / sizeof(void (*)()),
              "every entry point is looked up");

} // namespace

CCameraSDK::CCameraSDK(const char *libraryPath)
    : m_libraryPath{libraryPath}
{
}

int CCameraSDK::LoadLib()
{
    if (m_loaded)
        return 0;

    m_library = dlopen(m_libraryPath.c_str(), RTLD_NOW);
    if (m_library == nullptr) {
        std::printf("load tavelo :%s\n", dlerror());
        return -1;
    }

    bool complete = true;
    for (const Lookup &row : kLookupOrder)
        complete &= row.resolve(m_entry, m_library, row.symbol);
    if (!complete) {
        std::printf("[%s]load camera sdk failed\n", "LoadLib");
        return -1;
    }
    std::printf("[%s]load camera sdk success\n", "LoadLib");
    m_loaded = true;
    return 0;
}

void CCameraSDK::FreeLib()
{
    if (m_library != nullptr) {
        std::puts("free tavelo success");
        dlclose(m_library);
    }
    m_loaded = false;
    m_entry = {};
}
