#pragma once

#include "library/base/log.h"
#include "library/settings/settings_values.h"
#include "library/values/utf8.h"

#include <cstdlib>
#include <optional>
#include <utility>

namespace korv {

/// What an environment variable says; nothing when it is not set. A value that is none is reported on
/// standard error and counts as not set.
template <typename Value> std::optional<Value> environmentValue(const char *name)
{
    const char *text = std::getenv(name);
    if (text == nullptr || *text == '\0')
        return std::nullopt;
    std::optional<Value> value = valueOf<Value>(text);
    if (!value)
        logLine(LogLevel::Warning, name, refusalOf<Value>(), cleanUtf8(text));
    return value;
}

/// The same for what has a value already, in the settings for example.
template <typename Value> Value fromEnvironment(const char *name, Value otherwise)
{
    return environmentValue<Value>(name).value_or(std::move(otherwise));
}

} // namespace korv
