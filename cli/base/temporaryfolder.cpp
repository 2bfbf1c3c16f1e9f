#include "cli/base/temporaryfolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace cli {

TemporaryFolder::TemporaryFolder()
{
    namespace fs = std::filesystem;
    std::error_code unknown;
    // what TMPDIR names may not be there
    for (const fs::path &parent : {fs::temp_directory_path(unknown), fs::path("/tmp"),
                                   fs::path("/var/tmp"), fs::path("/dev/shm")}) {
        std::string path = (parent / "korvcam-XXXXXX").string();
        if (!parent.empty() && mkdtemp(path.data())) {
            m_path = path;
            m_error = 0;
            return;
        }
        m_error = errno;
    }
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    if (!m_path.empty())
        std::filesystem::remove_all(m_path, ignored);
}

} // namespace cli
