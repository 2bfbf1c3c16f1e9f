#include "library/base/log.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace korv {
namespace {

/// By LogLevel.
constexpr std::array<std::string_view, 4> kNames{"error", "warning", "info", "debug"};

std::string_view nameOf(LogLevel level)
{
    return kNames[static_cast<std::size_t>(level)];
}

void write(LogLevel level, std::string_view first, std::string_view second, std::string_view third)
{
    const auto length = [](std::string_view text) { return static_cast<int>(text.size()); };
    const auto separator = [](bool needed) { return needed ? ": " : ""; };
    const std::string_view name = nameOf(level);
    // one call, so that the stream stays locked for the whole line
    std::fprintf(stderr, "korvcamera: %.*s: %.*s%s%.*s%s%.*s\n", length(name), name.data(),
                 length(first), first.data(), separator(!first.empty() && !second.empty()),
                 length(second), second.data(),
                 separator(!(first.empty() && second.empty()) && !third.empty()), length(third),
                 third.data());
}

LogLevel wantedLevel()
{
    const char *const wanted = ::secure_getenv("KORV_LOG");
    if (!wanted || *wanted == '\0')
        return LogLevel::Info;
    if (const std::optional<LogLevel> level = readLogLevel(wanted))
        return *level;
    write(LogLevel::Warning, "KORV_LOG", wanted,
          "not a level; known are error, warning, info and debug");
    return LogLevel::Info;
}

} // namespace

std::optional<LogLevel> readLogLevel(std::string_view name) noexcept
{
    for (const LogLevel level :
         {LogLevel::Error, LogLevel::Warning, LogLevel::Info, LogLevel::Debug}) {
        if (name == nameOf(level))
            return level;
    }
    return std::nullopt;
}

bool isLogged(LogLevel level) noexcept
{
    static const LogLevel least = wantedLevel();
    return level <= least;
}

void logLine(LogLevel level, std::string_view first, std::string_view second,
             std::string_view third) noexcept
{
    if (isLogged(level))
        write(level, first, second, third);
}

} // namespace korv
