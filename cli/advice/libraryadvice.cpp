#include "cli/advice/libraryadvice.h"

#include "cli/base/translation.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace cli {
namespace {

/// What is wrong, and what helps against it.
std::string withRemedy(const std::string &problem)
{
    return tr("%1; install the package korv-camera-open, or name the right library with --library",
              problem);
}

constexpr std::array<const char *, 24> kEntryPoints{"KorvCamera_GetVersion",
                                                    "KorvCamera_Init",
                                                    "KorvCamera_UnInit",
                                                    "KorvCamera_GetDevCount",
                                                    "KorvCamera_GetOnLineDevList",
                                                    "KorvCamera_GetWorkDevList",
                                                    "KorvCamera_Open",
                                                    "KorvCamera_Close",
                                                    "KorvCamera_GetResolutionList",
                                                    "KorvCamera_GetCurResolutionNo",
                                                    "KorvCamera_SetCurResolutionNo",
                                                    "KorvCamera_StartCapture",
                                                    "KorvCamera_StopCapture",
                                                    "KorvCamera_RegCallBackCameraChange",
                                                    "KorvCamera_SetImageColorStyle",
                                                    "KorvCamera_SetImageJPGQuality",
                                                    "KorvCamera_SetAutoCrop",
                                                    "KorvCamera_SetImageRotateMode",
                                                    "KorvCamera_YuYv422toRGB24",
                                                    "KorvCamera_SaveVideoData",
                                                    "KorvCamera_SaveRGB888Image",
                                                    "KorvCamera_ConvertImagetoImage",
                                                    "KorvCamera_AddImageFiletoMultiFile",
                                                    "KorvCamera_CombineMultiFile"};

struct Unloader
{
    void operator()(void *library) const { dlclose(library); }
};

/// About the file itself, before the loader sees it.
std::string adviceOnFile(const std::string &path)
{
    struct stat state = {};
    if (stat(path.c_str(), &state) != 0)
        return errno == ENOENT ? withRemedy(tr("there is no such file")) : std::strerror(errno);
    if (!S_ISREG(state.st_mode))
        return withRemedy(tr("it is not a file"));
    if (access(path.c_str(), R_OK) != 0)
        return tr("this user may not read it; the administrator has to give the rights");
    char magic[4] = {};
    std::ifstream(path, std::ios::binary).read(magic, sizeof magic);
    if (std::memcmp(magic, "\177ELF", sizeof magic) != 0)
        return withRemedy(tr("it is not a shared library"));
    return {};
}

/// About what the loader says: "libx.so.1: cannot open shared object file: No such file ...".
std::string adviceOnLoading(const std::string &path, const std::string &reason)
{
    const std::size_t end = reason.find(": cannot open shared object file");
    const std::string needed = reason.substr(0, end);
    if (end != std::string::npos && needed != path)
        return tr("it needs %1, which is not installed; `ldd %2` lists all that it needs", needed,
                  path);
    if (reason.find("wrong ELF class") != std::string::npos)
        return withRemedy(tr("it is made for another kind of processor"));
    return withRemedy(reason);
}

} // namespace

std::string adviceOnLibrary(const std::string &path)
{
    // a name without a slash is looked for by the loader
    const bool isSearched = path.find('/') == std::string::npos;
    if (const std::string words = isSearched ? std::string() : adviceOnFile(path); !words.empty())
        return words;
    const std::unique_ptr<void, Unloader> library(dlopen(path.c_str(), RTLD_NOW));
    if (!library) {
        const char *const reason = dlerror();
        return adviceOnLoading(path, reason ? reason : tr("it cannot be loaded"));
    }
    std::vector<std::string> missing;
    for (const char *name : kEntryPoints) {
        if (!dlsym(library.get(), name))
            missing.emplace_back(name);
    }
    if (missing.empty())
        return {};
    return withRemedy(
        missing.size() == 1
            ? tr("it is another library, or another version of it: it lacks %1", missing.front())
            : tr("it is another library, or another version of it: it lacks %1 and %2 more",
                 missing.front(), missing.size() - 1));
}

} // namespace cli
