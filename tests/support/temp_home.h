#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace support {

/// A folder of a test's own: HOME points into it, TMPDIR too, and it is removed with the object.
class TempHome
{
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome &) = delete;
    TempHome &operator=(const TempHome &) = delete;

    /// What HOME is while the object lives; exists and is empty at first.
    const std::filesystem::path &home() const { return m_home; }
    /// A second folder beside the home directory.
    const std::filesystem::path &scratch() const { return m_scratch; }

    /// Writes a file below scratch() and returns its path.
    std::filesystem::path write(const std::string &name, const std::string &content) const;

private:
    std::filesystem::path m_root;
    std::filesystem::path m_home;
    std::filesystem::path m_scratch;
    std::optional<std::string> m_previousHome;
    std::optional<std::string> m_previousTemporary;
};

/// The whole file as bytes; empty when it cannot be read.
std::string readFile(const std::filesystem::path &path);

/// Gives an environment variable a value, or takes it away, and undoes that at the end.
class ScopedVariable
{
public:
    ScopedVariable(const char *name, std::optional<std::string> value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_previous;
};

} // namespace support
