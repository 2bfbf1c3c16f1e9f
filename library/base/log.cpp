#include "library/base/log.h"

#include <cstdio>

namespace korv {

void logLine(std::string_view text) noexcept
{
    // one call, so that the stream stays locked for the whole line
    std::fprintf(stderr, "korvcamera: %.*s\n", static_cast<int>(text.size()), text.data());
}

} // namespace korv
