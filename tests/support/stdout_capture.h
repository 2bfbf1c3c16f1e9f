#pragma once

#include <string>

namespace support {

/// Collects what is written to standard output, by anybody in this process and by its children,
/// while the object lives. One at a time. When the test has failed, everything collected goes out
/// at the end: the reports of its failures are among it.
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
    std::string m_everything;
    int m_file;
    int m_previous;
};

} // namespace support
