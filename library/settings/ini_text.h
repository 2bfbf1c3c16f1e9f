#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korv {

/// What an INI text says, in its order. Lines count from 1.
struct IniText
{
    struct Section
    {
        std::string name;
        int line = 0;
    };
    struct Entry
    {
        std::string section; ///< empty before the first one
        std::string name;
        std::string value;
        int line = 0;
    };
    struct Problem
    {
        std::string text;
        int line = 0;
    };

    std::vector<Section> sections;
    std::vector<Entry> entries;
    std::vector<Problem> problems; ///< lines that are neither of these, nor comments nor empty
};

/// Parses an INI text: "[section]", "name = value", comments from ';' or '#' at the start of a line
/// and from " ;" after a value. White space in front of a line means nothing, so that no line
/// continues the one before. A line has less than 200 bytes. Throws std::bad_alloc only.
IniText parseIni(std::string_view text);

} // namespace korv
