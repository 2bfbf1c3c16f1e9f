#include "tests/cli/progress/pseudo_terminal.h"

#include <array>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

namespace support {

PseudoTerminal::PseudoTerminal(unsigned short columns)
{
    winsize size = {};
    size.ws_col = columns;
    if (openpty(&m_user, &m_program, nullptr, nullptr, &size) != 0)
        m_user = m_program = -1;
}

PseudoTerminal::~PseudoTerminal()
{
    close(m_user);
    close(m_program);
}

std::string PseudoTerminal::take() const
{
    std::string text;
    std::array<char, 4096> buffer{};
    pollfd user{m_user, POLLIN, 0};
    // the kernel hands on what was written in a moment
    constexpr int kMoment = 50;
    while (poll(&user, 1, kMoment) == 1) {
        const ssize_t size = read(m_user, buffer.data(), buffer.size());
        if (size <= 0)
            break;
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
}

} // namespace support
