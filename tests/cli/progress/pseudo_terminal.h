#pragma once

#include <string>

namespace support {

/// The line is begun again and erased (ECMA-48: EL).
inline const std::string kErase = "\r\x1b[K";

/// A terminal of the test's own, whose other side keeps what is written to it.
class PseudoTerminal
{
public:
    /// Of that many columns; 0: it does not know.
    explicit PseudoTerminal(unsigned short columns);
    PseudoTerminal(const PseudoTerminal &) = delete;
    PseudoTerminal &operator=(const PseudoTerminal &) = delete;
    ~PseudoTerminal();

    /// The side of a program.
    int program() const { return m_program; }

    /// What was written since the last call.
    std::string take() const;

private:
    int m_user = -1;
    int m_program = -1;
};

} // namespace support
