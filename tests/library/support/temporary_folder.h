#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace testing_support {

/// A folder of the test's own, removed with everything in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "korv-test-XXXXXX").native();
        if (!::mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        m_path = pattern;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    std::string operator/(const std::string &name) const { return m_path + "/" + name; }
    const std::string &path() const { return m_path; }

private:
    std::string m_path;
};

inline void makeFolder(const std::string &path)
{
    std::filesystem::create_directories(path);
}

template <typename Bytes> void writeFile(const std::string &path, const Bytes &bytes)
{
    std::ofstream file(path, std::ios::binary);
    for (const auto byte : bytes)
        file.put(static_cast<char>(byte));
}

} // namespace testing_support
