#pragma once

#include <cstddef>
#include <string>

namespace cli {

struct Options;

/// A line at the end of what a terminal shows that is written again and again, in the same place.
/// The cursor stays at its beginning, so that what others write covers it. It goes with the object.
class TerminalLine
{
public:
    /// On a terminal, which is borrowed; -1: nowhere, and nothing has any effect.
    explicit TerminalLine(int terminal)
        : m_terminal(terminal)
    {
    }
    TerminalLine(const TerminalLine &) = delete;
    TerminalLine &operator=(const TerminalLine &) = delete;
    ~TerminalLine() { clear(); }

    bool isOn() const { return m_terminal >= 0; }

    /// Shows as much of `text` as fits, instead of what was there, with ? for control characters;
    /// nothing while the program is in the background.
    void show(const std::string &text);

    /// Call it before anything else is written to the terminal.
    void clear();

private:
    std::size_t width() const;
    void write(const std::string &bytes) const;

    int m_terminal;
    bool m_isShown = false;
};

/// Where the progress of a command is shown: standard error when it is a terminal that can rewrite a
/// line, unless the options or other output speak against it; otherwise -1.
int terminalForProgress(const Options &options);

} // namespace cli
