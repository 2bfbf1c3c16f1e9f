#pragma once

#include <string>

namespace support {

/// Collects what is written to standard output, by anybody in this process and by its children,
/// while the object lives. One at a time.
class StdoutCapture
{
public:
    StdoutCapture();
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture &) = delete;
    StdoutCapture &operator=(const StdoutCapture &) = delete;

    /// What was written since construction or the last take().
    std::string take();

private:
    int m_file;
    int m_previous;
};

} // namespace support
