#pragma once

#include <optional>
#include <string_view>

namespace korv {

/// How much a line of the log matters, the most important first.
enum class LogLevel {
    Error, ///< something failed that was asked for, or that the library cannot do without
    Warning, ///< something is missing or wrong, and the work goes on
    Info, ///< something that is not wrong, but that the user should know
    Debug, ///< what helps to find out why a camera or a picture is as it is
};

/// The level of that name: "error", "warning", "info" or "debug"; nothing for any other word.
std::optional<LogLevel> readLogLevel(std::string_view name) noexcept;

/// Whether lines of that level are written. The environment variable KORV_LOG names the least
/// important level that is; info when it is not set. It is read once; a value that is no level is
/// reported then.
bool isLogged(LogLevel level) noexcept;

/// One line on standard error, such as "korvcamera: warning: text": the parts that are not empty,
/// ": " between them. In lines with several, the first names the camera or file and the last is the
/// reason. Safe from any thread; lines are not split. Takes no memory.
void logLine(LogLevel level, std::string_view first, std::string_view second = {},
             std::string_view third = {}) noexcept;

/// A debug line. `makeText` returns its text and only runs when the line is written.
template <typename MakeText> void logDebug(const MakeText &makeText) noexcept
{
    if (!isLogged(LogLevel::Debug))
        return;
    try {
        logLine(LogLevel::Debug, makeText());
    } catch (...) {
        logLine(LogLevel::Debug, "dropped a debug line: out of memory");
    }
}

} // namespace korv
