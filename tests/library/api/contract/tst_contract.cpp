#include "library/include/korv_camera.h"

#include "tests/library/support/temporary_folder.h"
#include "tests/library/support/wait.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

using testing_support::becomesTrue;
using testing_support::makeFolder;
using testing_support::TemporaryFolder;

namespace {

/// The built library, opened as an application opens it, with a desk of its own.
class Contract : public testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(m_library, nullptr) << dlerror(); }
    void TearDown() override
    {
        call(&KorvCamera_UnInit, "UnInit");
        dlclose(m_library);
        s_events.clear();
        s_frames = 0;
    }

    /// Calls the entry point of that name; the first argument only names its type.
    template <typename Result, typename... Parameters, typename... Arguments>
    Result call(Result (*)(Parameters...), const char *name, Arguments... arguments)
    {
        const auto found =
            reinterpret_cast<Result (*)(Parameters...)>(dlsym(m_library, symbol(name).c_str()));
        EXPECT_NE(found, nullptr) << name;
        return found(arguments...);
    }

    static std::string symbol(const char *name) { return std::string("KorvCamera_") + name; }

    static std::string taken(char *text)
    {
        const std::string copy = text ? text : "(null)";
        std::free(text);
        return copy;
    }

    /// A camera that streams small frames.
    void stream()
    {
        makeFolder(m_desk / "1234:5678 Cam");
        ASSERT_EQ(call(&KorvCamera_Init, "Init"), 0);
        ASSERT_EQ(call(&KorvCamera_Open, "Open", 0), 0);
        ASSERT_EQ(call(&KorvCamera_SetCurResolutionNo, "SetCurResolutionNo", 0, 5), 0);
        ASSERT_EQ(call(&KorvCamera_StartCapture, "StartCapture", 0, onFrame), 0);
        ASSERT_TRUE(becomesTrue([] { return s_frames > 0; }));
    }

    /// What the kernel says under `key` of each of the library's threads (proc(5), "status").
    static std::vector<std::string> statesOfOurThreads(const std::string &key)
    {
        std::vector<std::string> states;
        for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
            std::ifstream file(task.path() / "status");
            std::map<std::string, std::string> entries;
            for (std::string line; std::getline(file, line);)
                entries[line.substr(0, line.find(':'))] = line.substr(line.find(':') + 2);
            if (entries["Name"].rfind("korv-", 0) == 0)
                states.push_back(entries[key]);
        }
        return states;
    }

    static void onEvent(char *json)
    {
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_events.push_back(taken(json));
    }

    static int onFrame(void *data, int size, int width, int height)
    {
        const auto *bytes = static_cast<const unsigned char *>(data);
        s_isJpeg = size > 4 && size < width * height * 3 && bytes[0] == 0xFF && bytes[1] == 0xD8
            && bytes[size - 2] == 0xFF && bytes[size - 1] == 0xD9;
        s_width = width;
        ++s_frames;
        return 0;
    }

    static std::vector<std::string> events()
    {
        const std::lock_guard<std::mutex> lock(s_mutex);
        return s_events;
    }

    static inline std::mutex s_mutex;
    static inline std::vector<std::string> s_events;
    static inline std::atomic<int> s_frames{0};
    static inline std::atomic<int> s_width{0};
    static inline std::atomic<bool> s_isJpeg{false};

    TemporaryFolder m_desk;
    const int m_environment = ::setenv("KORV_CAMERA_DESK", m_desk.path().c_str(), 1);
    void *m_library = dlopen(KORV_LIBRARY_FILE, RTLD_NOW);
};

/// The functions a header declares: names with the prefix, directly in front of a parenthesis.
std::set<std::string> functionsIn(const std::string &text)
{
    const std::string prefix = "KorvCamera_";
    std::set<std::string> names;
    for (std::size_t at = text.find(prefix); at != std::string::npos;
         at = text.find(prefix, at + 1)) {
        std::size_t end = at;
        while (end < text.size()
               && (std::isalnum(static_cast<unsigned char>(text[end])) != 0 || text[end] == '_'))
            ++end;
        if (end < text.size() && text[end] == '(')
            names.insert(text.substr(at, end - at));
    }
    return names;
}

} // namespace

TEST_F(Contract, exportsExactlyTheNamesOfTheHeader)
{
    std::ifstream header(KORV_CONTRACT_HEADER);
    const std::set<std::string> declared =
        functionsIn({std::istreambuf_iterator<char>(header), std::istreambuf_iterator<char>()});
    EXPECT_EQ(declared.size(), 24U);

    FILE *names = ::popen("nm -D --defined-only --format=posix '" KORV_LIBRARY_FILE "'", "r");
    ASSERT_NE(names, nullptr);
    std::set<std::string> exported;
    char name[256];
    while (std::fscanf(names, "%255s%*[^\n]", name) == 1)
        exported.insert(name);
    ASSERT_EQ(::pclose(names), 0);
    EXPECT_EQ(exported, declared);
}

TEST_F(Contract, versionIsCutToTheBuffer)
{
    char buffer[64];
    const int length = call(&KorvCamera_GetVersion, "GetVersion", buffer, 64);
    ASSERT_EQ(length, static_cast<int>(std::strlen(buffer)));
    char small[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(call(&KorvCamera_GetVersion, "GetVersion", small, 3), length);
    EXPECT_EQ(std::string(small, 4), std::string(buffer, 2) + '\0' + 'x');
    EXPECT_EQ(call(&KorvCamera_GetVersion, "GetVersion", small, 0), -EINVAL);
    EXPECT_EQ(call(&KorvCamera_GetVersion, "GetVersion", static_cast<char *>(nullptr), 9), -EINVAL);
}

TEST_F(Contract, answersNoDeviceBeforeInit)
{
    EXPECT_EQ(call(&KorvCamera_UnInit, "UnInit"), -ENODEV);
    EXPECT_EQ(call(&KorvCamera_GetDevCount, "GetDevCount"), -ENODEV);
    EXPECT_EQ(call(&KorvCamera_Open, "Open", 0), -ENODEV);
    EXPECT_EQ(call(&KorvCamera_GetOnLineDevList, "GetOnLineDevList"), nullptr);
    EXPECT_EQ(call(&KorvCamera_GetWorkDevList, "GetWorkDevList"), nullptr);
    EXPECT_EQ(call(&KorvCamera_GetResolutionList, "GetResolutionList", 0), nullptr);
    EXPECT_EQ(call(&KorvCamera_RegCallBackCameraChange, "RegCallBackCameraChange", onEvent),
              -ENODEV);
}

TEST_F(Contract, nullPointersAreRefused)
{
    const char *none = nullptr;
    EXPECT_EQ(call(&KorvCamera_ConvertImagetoImage, "ConvertImagetoImage", none, "x.jpg"), -EINVAL);
    EXPECT_EQ(call(&KorvCamera_AddImageFiletoMultiFile, "AddImageFiletoMultiFile", none), -EINVAL);
    EXPECT_EQ(call(&KorvCamera_CombineMultiFile, "CombineMultiFile", none), -EINVAL);
    void *nothing = nullptr;
    EXPECT_EQ(call(&KorvCamera_SaveVideoData, "SaveVideoData", nothing, 4, 4, 0, "x.jpg"), -EINVAL);
    EXPECT_EQ(call(&KorvCamera_StartCapture, "StartCapture", 0,
                   static_cast<KorvCamera_FrameCallback>(nullptr)),
              -EINVAL);
}

TEST_F(Contract, deviceLivesFromPlugToUnplugWhileItStreams)
{
    makeFolder(m_desk / "1234:5678 Cam");
    ASSERT_EQ(call(&KorvCamera_Init, "Init"), 0);
    EXPECT_EQ(call(&KorvCamera_Init, "Init"), 0);
    EXPECT_EQ(call(&KorvCamera_GetDevCount, "GetDevCount"), 1);
    ASSERT_EQ(call(&KorvCamera_RegCallBackCameraChange, "RegCallBackCameraChange", onEvent), 0);
    ASSERT_TRUE(becomesTrue([] { return events().size() == 1; }));
    const std::string identity = R"("index":0,"name":"Cam","vid":4660,"pid":22136})";
    EXPECT_EQ(events().at(0), R"({"action":"add",)" + identity);
    EXPECT_EQ(taken(call(&KorvCamera_GetOnLineDevList, "GetOnLineDevList")), "[{" + identity + "]");
    EXPECT_EQ(taken(call(&KorvCamera_GetWorkDevList, "GetWorkDevList")), "[]");

    ASSERT_EQ(call(&KorvCamera_Open, "Open", 0), 0);
    EXPECT_EQ(taken(call(&KorvCamera_GetWorkDevList, "GetWorkDevList")), "[{" + identity + "]");
    const std::string modes = taken(call(&KorvCamera_GetResolutionList, "GetResolutionList", 0));
    EXPECT_EQ(modes.rfind(R"([{"res-no":0,"res-w":3264,"res-h":2448},)", 0), 0U) << modes;
    EXPECT_EQ(call(&KorvCamera_SetCurResolutionNo, "SetCurResolutionNo", 0, 99), -EINVAL);
    EXPECT_EQ(call(&KorvCamera_SetCurResolutionNo, "SetCurResolutionNo", 0, 5), 0);
    EXPECT_EQ(call(&KorvCamera_GetCurResolutionNo, "GetCurResolutionNo", 0), 5);
    ASSERT_EQ(call(&KorvCamera_StartCapture, "StartCapture", 0, onFrame), 0);
    ASSERT_TRUE(becomesTrue([] { return s_frames > 2; }));
    EXPECT_TRUE(s_isJpeg);
    EXPECT_EQ(s_width, 640);

    std::filesystem::remove(m_desk / "1234:5678 Cam");
    ASSERT_TRUE(becomesTrue([] { return events().size() == 2; }));
    EXPECT_EQ(events().at(1), R"({"action":"remove",)" + identity);
    EXPECT_EQ(call(&KorvCamera_Close, "Close", 0), 0);
    EXPECT_EQ(call(&KorvCamera_Close, "Close", 0), -ENODEV);
}

TEST_F(Contract, unInitEndsEveryThreadOfTheLibrary)
{
    stream();
    EXPECT_EQ(statesOfOurThreads("Name").size(), 4U) << "events, desk, stream, pages";
    ASSERT_EQ(call(&KorvCamera_UnInit, "UnInit"), 0);
    const int frames = s_frames;
    EXPECT_THAT(statesOfOurThreads("Name"), testing::IsEmpty());
    EXPECT_EQ(s_frames, frames);
}

TEST_F(Contract, signalsAreLeftToTheThreadsOfTheProgram)
{
    stream();
    const std::vector<std::string> blocked = statesOfOurThreads("SigBlk");
    ASSERT_EQ(blocked.size(), 4U);
    for (const std::string &mask : blocked) {
        const unsigned long long signals = std::stoull(mask, nullptr, 16);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGCHLD, SIGUSR1, SIGPROF})
            EXPECT_NE(signals >> (signal - 1) & 1U, 0U) << signal;
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
            EXPECT_EQ(signals >> (fault - 1) & 1U, 0U) << fault;
    }
}

TEST_F(Contract, yuyvBecomesRgb)
{
    unsigned char white[4] = {235, 128, 235, 128};
    unsigned char rgb[6] = {};
    EXPECT_EQ(call(&KorvCamera_YuYv422toRGB24, "YuYv422toRGB24", white, rgb, 2U, 1U, 0U), 0);
    EXPECT_EQ(std::vector<int>(rgb, rgb + 6), std::vector<int>(6, 255));
    EXPECT_EQ(call(&KorvCamera_YuYv422toRGB24, "YuYv422toRGB24", white, rgb, 1U, 1U, 0U), -EINVAL);
}
