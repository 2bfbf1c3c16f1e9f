#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace cli {

/// Where the library binding's trace goes: it belongs to the application's log, and would stand
/// between the lines that a script reads from us.
enum class Trace {
    Kept, ///< can be asked for when something went wrong
    Shown, ///< on standard error
};

/// While it lives, what is printed on stdout is trace; our own lines go to output().
class TraceCapture
{
public:
    explicit TraceCapture(Trace mode);
    TraceCapture(const TraceCapture &) = delete;
    TraceCapture &operator=(const TraceCapture &) = delete;
    ~TraceCapture();

    /// The real standard output; null when it cannot be written to.
    std::FILE *output() const { return m_output.get(); }

    /// What was kept so far.
    std::string kept() const;

private:
    struct Closer
    {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, Closer> m_output;
    int m_keptFd = -1;
};

} // namespace cli
