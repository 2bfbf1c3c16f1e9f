#pragma once

#include <optional>
#include <string>

namespace cli {

/// A name with a place for a number: page-%03d.jpg. "%%" stands for a percent sign.
class NamePattern
{
public:
    /// Reads a path whose file name holds one %d, %Nd or %0Nd, N from 1 to 9; nothing for others.
    static std::optional<NamePattern> read(const std::string &path);

    /// The path of that number, filled up with zeros to the width asked for.
    std::string path(int number) const;

    /// The number in a file name that path() gives; nothing for other names.
    std::optional<int> numberIn(const std::string &fileName) const;

private:
    std::string m_folder; ///< with its slash, if any
    std::string m_before;
    std::string m_after;
    int m_width = 0;
};

} // namespace cli
