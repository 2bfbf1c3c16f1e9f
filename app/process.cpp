#include "app/process.h"

#include "util/ownenvironment.h"
#include "util/signalhandler.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include <langinfo.h>
#include <malloc.h>

namespace {

// Above a frame's pixels at 13 megapixels; mallopt(3) allows up to 32 MiB for the first.
constexpr int kMapFrom = 32 * 1024 * 1024;
constexpr int kTrimFrom = 256 * 1024 * 1024;

void useUtf8()
{
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0)
        return;
    // LC_ALL would hide LC_CTYPE.
    ownenvironment::set("LC_ALL", nullptr);
    ownenvironment::set("LC_CTYPE", "C.UTF-8");
    std::setlocale(LC_CTYPE, "");
}

/// What the entry of the applications menu asks for. It cannot set Qt's variables itself: they
/// would reach every program that is started from here.
void growWithTheScreen()
{
    constexpr char kRequest[] = "KORV_WINDOW_GROWS";
    const char *request = std::getenv(kRequest);
    const bool wanted = request != nullptr && std::strcmp(request, "1") == 0;
    ::unsetenv(kRequest);
    if (!wanted)
        return;
    ownenvironment::setDefault("QT_AUTO_SCREEN_SCALE_FACTOR", "1");
    ownenvironment::setDefault("QT_SCALE_FACTOR_ROUNDING_POLICY", "PassThrough");
}

/// A write that goes too far, or to a reader who has left, is an error like others.
void letWritesFail()
{
    for (const int number : {SIGXFSZ, SIGPIPE})
        installSignalHandler(number, [](int) {});
}

} // namespace

void prepareProcess()
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    useUtf8();
    ownenvironment::setDefault("QT_XCB_GL_INTEGRATION", "none");
    growWithTheScreen();
    letWritesFail();
    ::mallopt(M_MMAP_THRESHOLD, kMapFrom);
    ::mallopt(M_TRIM_THRESHOLD, kTrimFrom);
}
