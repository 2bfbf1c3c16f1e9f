#include "cli/progress/terminalline.h"

#include "cli/commandline/options.h"
#include "cli/progress/columns.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

namespace cli {
namespace {

constexpr std::size_t kUsualWidth = 80;
constexpr char kEraseLine[] = "\r\x1b[K";

/// COLUMNS, for terminals that do not know their width; 0 when it says nothing.
std::size_t widthByEnvironment()
{
    const char *const text = std::getenv("COLUMNS");
    unsigned short width = 0;
    if (text)
        std::from_chars(text, text + std::strlen(text), width);
    return width;
}

/// Without control characters, which names of files may hold.
std::string onOneLine(std::string text)
{
    const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

} // namespace

std::size_t TerminalLine::width() const
{
    winsize size = {};
    if (ioctl(m_terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    const std::size_t width = widthByEnvironment();
    return width > 0 ? width : kUsualWidth;
}

void TerminalLine::write(const std::string &bytes) const
{
    // a line that cannot be written is not missed
    [[maybe_unused]] const ssize_t written = ::write(m_terminal, bytes.data(), bytes.size());
}

void TerminalLine::show(const std::string &text)
{
    if (!isOn())
        return;
    // the terminal belongs to another program then, as a rule to a shell and its user
    const pid_t foreground = tcgetpgrp(m_terminal);
    if (foreground >= 0 && foreground != getpgrp())
        return;
    // a character in the last column would make some terminals begin a new line
    write(kEraseLine + cutToColumns(onOneLine(text), width() - 1) + "\r");
    m_isShown = true;
}

void TerminalLine::clear()
{
    if (m_isShown)
        write(kEraseLine);
    m_isShown = false;
}

int terminalForProgress(const Options &options)
{
    const char *const kind = std::getenv("TERM");
    const bool canRewrite = kind && *kind != '\0' && std::strcmp(kind, "dumb") != 0;
    // what the library says with --verbose would stand between
    const bool isWanted = options.progress && !options.json && !options.quiet && !options.verbose;
    return isWanted && canRewrite && isatty(STDERR_FILENO) == 1 ? STDERR_FILENO : -1;
}

} // namespace cli
