#pragma once

#include <string>

namespace cli {

/// A folder that only this user may enter, below the system's folder for temporary files. It goes
/// with the object, with everything in it.
class TemporaryFolder
{
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder();

    /// Why there is no folder, as errno; 0 when there is one.
    int error() const { return m_error; }

    /// Where a file of that name is in the folder.
    std::string pathOf(const std::string &name) const { return m_path + "/" + name; }

private:
    std::string m_path;
    int m_error = 0;
};

} // namespace cli
