// Does not link anything: that it compiles is the test.
#include "library/include/korv_camera.h"

#include <type_traits>

namespace {

template <auto Function, typename Type>
constexpr bool kHasType = std::is_same_v<decltype(Function), Type>;

static_assert(kHasType<&KorvCamera_GetVersion, int (*)(char *, int)>);
static_assert(kHasType<&KorvCamera_Init, int (*)(void)>);
static_assert(kHasType<&KorvCamera_UnInit, int (*)(void)>);
static_assert(kHasType<&KorvCamera_GetDevCount, int (*)(void)>);
static_assert(kHasType<&KorvCamera_GetOnLineDevList, char *(*)(void)>);
static_assert(kHasType<&KorvCamera_GetWorkDevList, char *(*)(void)>);
static_assert(kHasType<&KorvCamera_Open, int (*)(int)>);
static_assert(kHasType<&KorvCamera_Close, int (*)(int)>);
static_assert(kHasType<&KorvCamera_GetResolutionList, char *(*)(int)>);
static_assert(kHasType<&KorvCamera_GetCurResolutionNo, int (*)(int)>);
static_assert(kHasType<&KorvCamera_SetCurResolutionNo, int (*)(int, int)>);
static_assert(kHasType<&KorvCamera_SetImageColorStyle, int (*)(int)>);
static_assert(kHasType<&KorvCamera_SetImageJPGQuality, int (*)(int)>);
static_assert(kHasType<&KorvCamera_SetAutoCrop, int (*)(int)>);
static_assert(kHasType<&KorvCamera_SetImageRotateMode, int (*)(int)>);
static_assert(
    kHasType<&KorvCamera_YuYv422toRGB24,
             int (*)(unsigned char *, unsigned char *, unsigned int, unsigned int, unsigned int)>);
static_assert(kHasType<&KorvCamera_SaveVideoData, int (*)(void *, int, int, int, const char *)>);
static_assert(kHasType<&KorvCamera_SaveRGB888Image, int (*)(char *, int, int, int, const char *)>);
static_assert(kHasType<&KorvCamera_ConvertImagetoImage, int (*)(const char *, const char *)>);
static_assert(kHasType<&KorvCamera_CombineMultiFile, int (*)(const char *)>);
static_assert(kHasType<&KorvCamera_AddImageFiletoMultiFile, int (*)(const char *)>);
static_assert(kHasType<&KorvCamera_StartCapture, int (*)(int, int (*)(void *, int, int, int))>);
static_assert(kHasType<&KorvCamera_StopCapture, int (*)(int)>);
static_assert(kHasType<&KorvCamera_RegCallBackCameraChange, int (*)(void (*)(char *))>);

} // namespace
