#include "cli/base/folderentries.h"

#include <algorithm>

namespace cli {

namespace fs = std::filesystem;

std::vector<fs::path> entriesOf(const fs::path &folder)
{
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator at(folder, error); !error && at != fs::directory_iterator();
         at.increment(error))
        found.push_back(at->path());
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace cli
