#include "tests/support/temp_home.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace support {

namespace {

std::optional<std::string> variable(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>{value} : std::nullopt;
}

void assign(const char *name, const std::optional<std::string> &value)
{
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
}

std::filesystem::path uniqueFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "korv-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), pattern);
    return pattern;
}

} // namespace

TempHome::TempHome()
    : m_root{uniqueFolder()}
    , m_home{m_root / "home"}
    , m_scratch{m_root / "scratch"}
    , m_previousHome{variable("HOME")}
    , m_previousTemporary{variable("TMPDIR")}
{
    std::filesystem::create_directory(m_home);
    std::filesystem::create_directory(m_scratch);
    assign("HOME", m_home.string());
    assign("TMPDIR", m_scratch.string());
}

TempHome::~TempHome()
{
    assign("HOME", m_previousHome);
    assign("TMPDIR", m_previousTemporary);
    std::error_code ignored;
    std::filesystem::remove_all(m_root, ignored);
}

std::filesystem::path TempHome::write(const std::string &name, const std::string &content) const
{
    std::filesystem::path path = m_scratch / name;
    std::ofstream{path, std::ios::binary} << content;
    return path;
}

std::string readFile(const std::filesystem::path &path)
{
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, std::istreambuf_iterator<char>{}};
}

ScopedVariable::ScopedVariable(const char *name, std::optional<std::string> value)
    : m_name{name}
    , m_previous{variable(name)}
{
    assign(name, value);
}

ScopedVariable::~ScopedVariable()
{
    assign(m_name.c_str(), m_previous);
}

} // namespace support
