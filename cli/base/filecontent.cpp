#include "cli/base/filecontent.h"

#include <fstream>
#include <sstream>

namespace cli {

std::string contentOf(const std::string &path)
{
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

} // namespace cli
