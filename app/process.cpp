#include "app/process.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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
    ::unsetenv("LC_ALL");
    ::setenv("LC_CTYPE", "C.UTF-8", 1);
    std::setlocale(LC_CTYPE, "");
}

} // namespace

void prepareProcess()
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    useUtf8();
    ::setenv("QT_XCB_GL_INTEGRATION", "none", 0);
    ::mallopt(M_MMAP_THRESHOLD, kMapFrom);
    ::mallopt(M_TRIM_THRESHOLD, kTrimFrom);
}
