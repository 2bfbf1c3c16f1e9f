#pragma once

#include "installpaths.h"
#include "library/include/korv_camera.h"

#include <string>

/// The camera library, opened at run time: one forwarding member per entry point of
/// library/include/korv_camera.h, where arguments, results and ownership are described.
///
/// Life cycle: LoadLib() returned 0, entry points, FreeLib(), destruction. The destructor does not
/// unload. Forwarders check nothing and may be called only while the library is loaded.
/// Thread: the one that created the object.
class CCameraSDK
{
public:
    explicit CCameraSDK(const char *libraryPath = installpaths::kCameraLibrary);
    CCameraSDK(const CCameraSDK &) = delete;
    CCameraSDK &operator=(const CCameraSDK &) = delete;

    /// Opens the library and binds all entry points; 0, or -1 when the library cannot be opened or
    /// lacks a name. Harmless when already loaded. What went wrong is said on standard output.
    int LoadLib();

    /// Unloads the library; the entry points are null afterwards. The owner then deletes the
    /// object.
    void FreeLib();

    int GetVersion(char *buf, int size) { return m_entry.GetVersion(buf, size); }
    int Init() { return m_entry.Init(); }
    int UnInit() { return m_entry.UnInit(); }
    int GetDevCount() { return m_entry.GetDevCount(); }
    char *GetOnLineDevList() { return m_entry.GetOnLineDevList(); }
    char *GetWorkDevList() { return m_entry.GetWorkDevList(); }
    int Open(int index) { return m_entry.Open(index); }
    int Close(int index) { return m_entry.Close(index); }
    char *GetResolutionList(int index) { return m_entry.GetResolutionList(index); }
    int GetCurResolutionNo(int index) { return m_entry.GetCurResolutionNo(index); }
    int SetCurResolutionNo(int index, int res_no)
    {
        return m_entry.SetCurResolutionNo(index, res_no);
    }
    int SetImageColorStyle(int color) { return m_entry.SetImageColorStyle(color); }
    int SetImageJPGQuality(int quality) { return m_entry.SetImageJPGQuality(quality); }
    int SetAutoCrop(int mode) { return m_entry.SetAutoCrop(mode); }
    int SetImageRotateMode(int mode) { return m_entry.SetImageRotateMode(mode); }
    int YuYv422toRGB24(unsigned char *src, unsigned char *dst, unsigned int width,
                       unsigned int height, unsigned int reserved)
    {
        return m_entry.YuYv422toRGB24(src, dst, width, height, reserved);
    }
    int SaveVideoData(void *data, int width, int height, int reserved, const char *path)
    {
        return m_entry.SaveVideoData(data, width, height, reserved, path);
    }
    int SaveRGB888Image(char *data, int width, int height, int reserved, const char *path)
    {
        return m_entry.SaveRGB888Image(data, width, height, reserved, path);
    }
    int ConvertImagetoImage(const char *src, const char *dst)
    {
        return m_entry.ConvertImagetoImage(src, dst);
    }
    int CombineMultiFile(const char *dst) { return m_entry.CombineMultiFile(dst); }
    int AddImageFiletoMultiFile(const char *src) { return m_entry.AddImageFiletoMultiFile(src); }
    int StartCapture(int index, int (*cb)(void *data, int size, int width, int height))
    {
        return m_entry.StartCapture(index, cb);
    }
    int StopCapture(int index) { return m_entry.StopCapture(index); }
    int RegCallBackCameraChange(void (*cb)(char *json))
    {
        return m_entry.RegCallBackCameraChange(cb);
    }

    struct EntryPoints
    {
        decltype(&KorvCamera_GetVersion) GetVersion = nullptr;
        decltype(&KorvCamera_Init) Init = nullptr;
        decltype(&KorvCamera_UnInit) UnInit = nullptr;
        decltype(&KorvCamera_GetDevCount) GetDevCount = nullptr;
        decltype(&KorvCamera_GetOnLineDevList) GetOnLineDevList = nullptr;
        decltype(&KorvCamera_GetWorkDevList) GetWorkDevList = nullptr;
        decltype(&KorvCamera_Open) Open = nullptr;
        decltype(&KorvCamera_Close) Close = nullptr;
        decltype(&KorvCamera_GetResolutionList) GetResolutionList = nullptr;
        decltype(&KorvCamera_GetCurResolutionNo) GetCurResolutionNo = nullptr;
        decltype(&KorvCamera_SetCurResolutionNo) SetCurResolutionNo = nullptr;
        decltype(&KorvCamera_SetImageColorStyle) SetImageColorStyle = nullptr;
        decltype(&KorvCamera_SetImageJPGQuality) SetImageJPGQuality = nullptr;
        decltype(&KorvCamera_SetAutoCrop) SetAutoCrop = nullptr;
        decltype(&KorvCamera_SetImageRotateMode) SetImageRotateMode = nullptr;
        decltype(&KorvCamera_YuYv422toRGB24) YuYv422toRGB24 = nullptr;
        decltype(&KorvCamera_SaveVideoData) SaveVideoData = nullptr;
        decltype(&KorvCamera_SaveRGB888Image) SaveRGB888Image = nullptr;
        decltype(&KorvCamera_ConvertImagetoImage) ConvertImagetoImage = nullptr;
        decltype(&KorvCamera_CombineMultiFile) CombineMultiFile = nullptr;
        decltype(&KorvCamera_AddImageFiletoMultiFile) AddImageFiletoMultiFile = nullptr;
        decltype(&KorvCamera_StartCapture) StartCapture = nullptr;
        decltype(&KorvCamera_StopCapture) StopCapture = nullptr;
        decltype(&KorvCamera_RegCallBackCameraChange) RegCallBackCameraChange = nullptr;
    };

    /// The table of entry points, null where one is not bound.
    const EntryPoints &entryPoints() const { return m_entry; }

private:
    bool m_loaded = false;
    void *m_library = nullptr;
    EntryPoints m_entry;
    std::string m_libraryPath;
};
