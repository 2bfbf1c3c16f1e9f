#include "library/base/log.h"

#include <cstdio>

namespace korv {

void logLine(const std::string &text)
{
    const std::string line = "korvcamera: " + text + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace korv
