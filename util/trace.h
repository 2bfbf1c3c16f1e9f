#pragma once

#include <cstdarg>
#include <cstdio>

namespace trace {

/// Trace lines that name their origin. Line numbers are part of the text that log readers rely on:
/// constants of the message, not positions in today's source.
///
/// The function is named explicitly, not through __func__, so that the name survives when a step is
/// extracted. Thread: any; a line of another thread never lands between prefix and text.
class Origin
{
public:
    /// `function` is borrowed and must outlive the object; pass a literal.
    explicit constexpr Origin(const char *function)
        : m_function{function}
    {
    }

    /// Prints "[function][line]" and the formatted text to standard output.
    void at(int line, const char *format, ...) const __attribute__((format(printf, 3, 4)))
    {
        std::va_list arguments;
        va_start(arguments, format);
        flockfile(stdout);
        std::printf("[%s][%d]", m_function, line);
        std::vprintf(format, arguments);
        funlockfile(stdout);
        va_end(arguments);
    }

private:
    const char *m_function;
};

} // namespace trace
