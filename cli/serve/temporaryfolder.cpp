#include "cli/serve/temporaryfolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace cli {

TemporaryFolder::TemporaryFolder()
{
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    std::string path = ((error ? "/tmp" : parent) / "korvcam-scan-XXXXXX").string();
    if (mkdtemp(path.data()))
        m_path = path;
    else
        m_error = errno;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    if (!m_path.empty())
        std::filesystem::remove_all(m_path, ignored);
}

} // namespace cli
