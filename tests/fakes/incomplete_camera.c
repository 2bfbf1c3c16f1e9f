/*
 * All names of the camera library, without a meaning: only look-ups are tried on it. Built once per
 * name with a macro that renames that one function, so that each build lacks a single name.
 */

/* clang-format off */
#define DEFINE(name)                                                                               \
    __attribute__((visibility("default"))) int name(void);                                         \
    int name(void) { return 0; }
/* clang-format on */

DEFINE(KorvCamera_GetVersion)
DEFINE(KorvCamera_Init)
DEFINE(KorvCamera_UnInit)
DEFINE(KorvCamera_GetDevCount)
DEFINE(KorvCamera_GetOnLineDevList)
DEFINE(KorvCamera_GetWorkDevList)
DEFINE(KorvCamera_Open)
DEFINE(KorvCamera_Close)
DEFINE(KorvCamera_GetResolutionList)
DEFINE(KorvCamera_GetCurResolutionNo)
DEFINE(KorvCamera_SetCurResolutionNo)
DEFINE(KorvCamera_SetImageColorStyle)
DEFINE(KorvCamera_SetImageJPGQuality)
DEFINE(KorvCamera_SetAutoCrop)
DEFINE(KorvCamera_SetImageRotateMode)
DEFINE(KorvCamera_YuYv422toRGB24)
DEFINE(KorvCamera_SaveVideoData)
DEFINE(KorvCamera_SaveRGB888Image)
DEFINE(KorvCamera_ConvertImagetoImage)
DEFINE(KorvCamera_CombineMultiFile)
DEFINE(KorvCamera_AddImageFiletoMultiFile)
DEFINE(KorvCamera_StartCapture)
DEFINE(KorvCamera_StopCapture)
DEFINE(KorvCamera_RegCallBackCameraChange)
