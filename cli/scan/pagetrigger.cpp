#include "cli/scan/pagetrigger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace cli {

int EnterKey::descriptor() const
{
    return STDIN_FILENO;
}

PageTrigger::News EnterKey::read()
{
    News news;
    // somebody else may have read what there was
    pollfd source{STDIN_FILENO, POLLIN, 0};
    if (poll(&source, 1, 0) <= 0)
        return news;
    std::array<char, 4096> text{};
    const ssize_t size = ::read(STDIN_FILENO, text.data(), text.size());
    if (size > 0)
        news.presses = static_cast<int>(std::count(text.begin(), text.begin() + size, '\n'));
    news.hasEnded = size == 0 || (size < 0 && errno != EINTR && errno != EAGAIN);
    return news;
}

ButtonPress::ButtonPress(const std::string &path)
    : m_button(path)
    , m_descriptor(m_button.descriptor())
{
}

PageTrigger::News ButtonPress::read()
{
    const int presses = m_button.presses();
    return {presses, m_button.error() != 0};
}

bool hasKeyboard()
{
    // to read from the terminal stops a program in the background
    return isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

} // namespace cli
