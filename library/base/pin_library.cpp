#include "library/base/pin_library.h"

#include <dlfcn.h>

namespace korv {

void pinThisLibrary()
{
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void *>(&pinThisLibrary), &info) == 0 || !info.dli_fname)
        return;
    // the reference is never given back; in a program that holds this code itself there is nothing
    // to pin, and the call fails
    static_cast<void>(::dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE));
}

} // namespace korv
