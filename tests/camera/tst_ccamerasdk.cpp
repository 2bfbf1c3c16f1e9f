#include "camera/ccamerasdk.h"

#include "tests/fakes/scripted_camera.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <cstdlib>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>

namespace {

int frameSeen(void *, int size, int, int)
{
    return size;
}

void eventSeen(char *json)
{
    std::free(json);
}

class CameraSdk : public testing::Test
{
protected:
    CameraSdk() { fake_reset(); }

    support::StdoutCapture output;
};

class LoadedCameraSdk : public CameraSdk
{
protected:
    LoadedCameraSdk()
    {
        EXPECT_EQ(sdk.LoadLib(), 0);
        output.take();
    }
    ~LoadedCameraSdk() override { sdk.FreeLib(); }

    CCameraSDK sdk{KORV_SCRIPTED_CAMERA};
};

class IncompleteCamera : public testing::TestWithParam<const char *>
{
};

bool isEmpty(const CCameraSDK::EntryPoints &entryPoints)
{
    return entryPoints.GetVersion == nullptr && entryPoints.Init == nullptr
        && entryPoints.UnInit == nullptr && entryPoints.GetDevCount == nullptr
        && entryPoints.GetOnLineDevList == nullptr && entryPoints.GetWorkDevList == nullptr
        && entryPoints.Open == nullptr && entryPoints.Close == nullptr
        && entryPoints.GetResolutionList == nullptr && entryPoints.GetCurResolutionNo == nullptr
        && entryPoints.SetCurResolutionNo == nullptr && entryPoints.SetImageColorStyle == nullptr
        && entryPoints.SetImageJPGQuality == nullptr && entryPoints.SetAutoCrop == nullptr
        && entryPoints.SetImageRotateMode == nullptr && entryPoints.YuYv422toRGB24 == nullptr
        && entryPoints.SaveVideoData == nullptr && entryPoints.SaveRGB888Image == nullptr
        && entryPoints.ConvertImagetoImage == nullptr && entryPoints.CombineMultiFile == nullptr
        && entryPoints.AddImageFiletoMultiFile == nullptr && entryPoints.StartCapture == nullptr
        && entryPoints.StopCapture == nullptr && entryPoints.RegCallBackCameraChange == nullptr;
}

} // namespace

TEST_F(CameraSdk, nothingIsBoundAtFirst)
{
    const CCameraSDK sdk{KORV_SCRIPTED_CAMERA};
    EXPECT_TRUE(isEmpty(sdk.entryPoints()));
    EXPECT_EQ(output.take(), "");
}

TEST_F(CameraSdk, completeLibraryIsLoaded)
{
    CCameraSDK sdk{KORV_SCRIPTED_CAMERA};
    EXPECT_EQ(sdk.LoadLib(), 0);
    EXPECT_EQ(output.take(), "[LoadLib]load camera sdk success\n");
    EXPECT_STREQ(fake_calls(), "");
    sdk.FreeLib();
    EXPECT_EQ(output.take(), "free tavelo success\n");
    EXPECT_TRUE(isEmpty(sdk.entryPoints()));
}

TEST_F(CameraSdk, secondLoadDoesNothing)
{
    CCameraSDK sdk{KORV_SCRIPTED_CAMERA};
    ASSERT_EQ(sdk.LoadLib(), 0);
    output.take();
    EXPECT_EQ(sdk.LoadLib(), 0);
    EXPECT_EQ(output.take(), "");
    sdk.FreeLib();
}

TEST_F(CameraSdk, secondLoadDoesNotOpenTheLibraryAgain)
{
    // a library that nobody else holds: unloading once must take it away
    const std::string path = std::string(KORV_INCOMPLETE_CAMERAS) + "/libcomplete.so";
    CCameraSDK sdk{path.c_str()};
    ASSERT_EQ(sdk.LoadLib(), 0);
    ASSERT_EQ(sdk.LoadLib(), 0);
    void *held = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(held, nullptr);
    dlclose(held);
    sdk.FreeLib();
    EXPECT_EQ(dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(CameraSdk, libraryCanBeLoadedAgainAfterItWasFreed)
{
    CCameraSDK sdk{KORV_SCRIPTED_CAMERA};
    ASSERT_EQ(sdk.LoadLib(), 0);
    sdk.FreeLib();
    EXPECT_EQ(sdk.LoadLib(), 0);
    EXPECT_EQ(sdk.Init(), 0);
    sdk.FreeLib();
}

TEST_F(CameraSdk, missingLibraryIsReportedWithTheLoadersText)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "none.so").string();
    CCameraSDK sdk{path.c_str()};
    EXPECT_EQ(sdk.LoadLib(), -1);
    EXPECT_EQ(output.take(),
              "load tavelo :" + path
                  + ": cannot open shared object file: No such file or directory\n");
    EXPECT_TRUE(isEmpty(sdk.entryPoints()));
    sdk.FreeLib();
    EXPECT_EQ(output.take(), "");
}

TEST_F(CameraSdk, fileThatIsNoLibraryIsRefused)
{
    const support::TempHome home;
    CCameraSDK sdk{home.write("broken.so", "no ELF file").c_str()};
    EXPECT_EQ(sdk.LoadLib(), -1);
    EXPECT_THAT(output.take(), testing::MatchesRegex("load tavelo :.*broken.so: .+\n"));
}

TEST_F(CameraSdk, defaultLibraryLiesBelowTheInstallation)
{
    EXPECT_THAT(std::string(installpaths::kCameraLibrary),
                testing::EndsWith("/lib/libKorvPlixoManager.so"));
}

TEST_P(IncompleteCamera, oneMissingNameRefusesTheLibrary)
{
    const std::string name = GetParam();
    support::StdoutCapture output;
    CCameraSDK sdk{(std::string(KORV_INCOMPLETE_CAMERAS) + "/libwithout" + name + ".so").c_str()};
    EXPECT_EQ(sdk.LoadLib(), -1);
    EXPECT_EQ(output.take(), "[LoadLib]load camera sdk failed\n");
    // all are tried: the first in look-up order and the last are there unless they are missing
    EXPECT_EQ(sdk.entryPoints().Init != nullptr, name != "Init");
    EXPECT_EQ(sdk.entryPoints().RegCallBackCameraChange != nullptr,
              name != "RegCallBackCameraChange");
    // refused, but not forgotten: a second try opens it again with the same result
    EXPECT_EQ(sdk.LoadLib(), -1);
    EXPECT_EQ(output.take(), "[LoadLib]load camera sdk failed\n");
    sdk.FreeLib();
    EXPECT_EQ(output.take(), "free tavelo success\n");
    EXPECT_TRUE(isEmpty(sdk.entryPoints()));
}

INSTANTIATE_TEST_SUITE_P(
    EachName, IncompleteCamera,
    testing::Values("GetVersion", "Init", "UnInit", "GetDevCount", "GetOnLineDevList",
                    "GetWorkDevList", "Open", "Close", "GetResolutionList", "GetCurResolutionNo",
                    "SetCurResolutionNo", "SetImageColorStyle", "SetImageJPGQuality", "SetAutoCrop",
                    "SetImageRotateMode", "YuYv422toRGB24", "SaveVideoData", "SaveRGB888Image",
                    "ConvertImagetoImage", "CombineMultiFile", "AddImageFiletoMultiFile",
                    "StartCapture", "StopCapture", "RegCallBackCameraChange"),
    [](const auto &test) { return std::string(test.param); });

TEST_F(LoadedCameraSdk, forwardersPassArgumentsUnchanged)
{
    char text[16] = {};
    unsigned char bytes[8] = {};
    sdk.GetVersion(text, 16);
    EXPECT_STREQ(text, "scripted");
    sdk.Init();
    sdk.GetDevCount();
    std::free(sdk.GetOnLineDevList());
    std::free(sdk.GetWorkDevList());
    sdk.Open(3);
    std::free(sdk.GetResolutionList(3));
    sdk.GetCurResolutionNo(4);
    sdk.SetCurResolutionNo(5, 6);
    sdk.SetImageColorStyle(2);
    sdk.SetImageJPGQuality(80);
    sdk.SetAutoCrop(-1);
    sdk.SetImageRotateMode(3);
    sdk.YuYv422toRGB24(bytes, nullptr, 2, 3, 4);
    sdk.SaveVideoData(nullptr, 7, 8, 9, "/nowhere/a");
    sdk.SaveRGB888Image(text, 10, 11, 12, "/nowhere/b");
    sdk.ConvertImagetoImage("/nowhere/c", "/nowhere/d");
    sdk.AddImageFiletoMultiFile("/nowhere/e");
    sdk.CombineMultiFile("/nowhere/f");
    sdk.RegCallBackCameraChange(eventSeen);
    sdk.StartCapture(13, frameSeen);
    sdk.StopCapture(14);
    sdk.Close(15);
    sdk.UnInit();
    EXPECT_STREQ(fake_calls(),
                 "GetVersion(data,16)\n"
                 "Init()\n"
                 "GetDevCount()\n"
                 "GetOnLineDevList()\n"
                 "GetWorkDevList()\n"
                 "Open(3)\n"
                 "GetResolutionList(3)\n"
                 "GetCurResolutionNo(4)\n"
                 "SetCurResolutionNo(5,6)\n"
                 "SetImageColorStyle(2)\n"
                 "SetImageJPGQuality(80)\n"
                 "SetAutoCrop(-1)\n"
                 "SetImageRotateMode(3)\n"
                 "YuYv422toRGB24(data,null,2,3,4)\n"
                 "SaveVideoData(null,7,8,9,/nowhere/a)\n"
                 "SaveRGB888Image(data,10,11,12,/nowhere/b)\n"
                 "ConvertImagetoImage(/nowhere/c,/nowhere/d)\n"
                 "AddImageFiletoMultiFile(/nowhere/e)\n"
                 "CombineMultiFile(/nowhere/f)\n"
                 "RegCallBackCameraChange(callback)\n"
                 "StartCapture(13,callback)\n"
                 "StopCapture(14)\n"
                 "Close(15)\n"
                 "UnInit()\n");
}

TEST_F(LoadedCameraSdk, forwardersReturnResultsUnchanged)
{
    char text[4] = {};
    unsigned char bytes[1] = {};
    const char *const names[] = {"GetVersion",
                                 "Init",
                                 "UnInit",
                                 "GetDevCount",
                                 "Open",
                                 "Close",
                                 "GetCurResolutionNo",
                                 "SetCurResolutionNo",
                                 "SetImageColorStyle",
                                 "SetImageJPGQuality",
                                 "SetAutoCrop",
                                 "SetImageRotateMode",
                                 "YuYv422toRGB24",
                                 "SaveVideoData",
                                 "SaveRGB888Image",
                                 "ConvertImagetoImage",
                                 "CombineMultiFile",
                                 "AddImageFiletoMultiFile",
                                 "StartCapture",
                                 "StopCapture",
                                 "RegCallBackCameraChange"};
    int next = -101;
    for (const char *name : names)
        fake_set_result(name, next--);
    const int results[] = {sdk.GetVersion(text, 4),
                           sdk.Init(),
                           sdk.UnInit(),
                           sdk.GetDevCount(),
                           sdk.Open(0),
                           sdk.Close(0),
                           sdk.GetCurResolutionNo(0),
                           sdk.SetCurResolutionNo(0, 0),
                           sdk.SetImageColorStyle(0),
                           sdk.SetImageJPGQuality(0),
                           sdk.SetAutoCrop(0),
                           sdk.SetImageRotateMode(0),
                           sdk.YuYv422toRGB24(bytes, bytes, 0, 0, 0),
                           sdk.SaveVideoData(bytes, 0, 0, 0, ""),
                           sdk.SaveRGB888Image(text, 0, 0, 0, ""),
                           sdk.ConvertImagetoImage("", ""),
                           sdk.CombineMultiFile(""),
                           sdk.AddImageFiletoMultiFile(""),
                           sdk.StartCapture(0, frameSeen),
                           sdk.StopCapture(0),
                           sdk.RegCallBackCameraChange(eventSeen)};
    ASSERT_EQ(std::size(results), std::size(names));
    int expected = -101;
    for (std::size_t i = 0; i < std::size(names); ++i)
        EXPECT_EQ(results[i], expected--) << names[i];
}

TEST_F(LoadedCameraSdk, textsBelongToTheCaller)
{
    const std::unique_ptr<char, decltype(&std::free)> text{sdk.GetResolutionList(0), &std::free};
    EXPECT_STREQ(text.get(), R"([{"res-no":0,"res-w":640,"res-h":480}])");
    fake_set_resolution_json(nullptr);
    EXPECT_EQ(sdk.GetResolutionList(0), nullptr);
}
