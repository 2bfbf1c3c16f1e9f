/* Does not link anything: that it compiles is the test. */
#include "library/include/korv_camera.h"

#define IS(name, ...)                                                                              \
    _Static_assert(_Generic(&KorvCamera_##name, __VA_ARGS__ : 1, default : 0), #name)

IS(GetVersion, int (*)(char *, int));
IS(Init, int (*)(void));
IS(UnInit, int (*)(void));
IS(GetDevCount, int (*)(void));
IS(GetOnLineDevList, char *(*)(void));
IS(GetWorkDevList, char *(*)(void));
IS(Open, int (*)(int));
IS(Close, int (*)(int));
IS(GetResolutionList, char *(*)(int));
IS(GetCurResolutionNo, int (*)(int));
IS(SetCurResolutionNo, int (*)(int, int));
IS(SetImageColorStyle, int (*)(int));
IS(SetImageJPGQuality, int (*)(int));
IS(SetAutoCrop, int (*)(int));
IS(SetImageRotateMode, int (*)(int));
IS(YuYv422toRGB24,
   int (*)(unsigned char *, unsigned char *, unsigned int, unsigned int, unsigned int));
IS(SaveVideoData, int (*)(void *, int, int, int, const char *));
IS(SaveRGB888Image, int (*)(char *, int, int, int, const char *));
IS(ConvertImagetoImage, int (*)(const char *, const char *));
IS(CombineMultiFile, int (*)(const char *));
IS(AddImageFiletoMultiFile, int (*)(const char *));
IS(StartCapture, int (*)(int, int (*)(void *, int, int, int)));
IS(StopCapture, int (*)(int));
IS(RegCallBackCameraChange, int (*)(void (*)(char *)));
