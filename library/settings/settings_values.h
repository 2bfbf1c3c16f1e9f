#pragma once

#include "library/image/sheet_size.h"
#include "library/text/text_languages.h"

#include <optional>
#include <string>
#include <utility>

namespace korv {

/// What the texts of settings mean, a function for each type. Nothing for a text that is no such
/// value; why is what refusalOf() says.
template <typename Value> std::optional<Value> valueOf(const std::string &text);

template <> std::optional<std::string> valueOf(const std::string &text);
/// "yes", "on", "true", "1" and their opposites, in any case.
template <> std::optional<bool> valueOf(const std::string &text);
/// A positive number without exponent, with '.' whatever the locale.
template <> std::optional<double> valueOf(const std::string &text);
/// See sheetOf().
template <> std::optional<std::optional<SheetSize>> valueOf(const std::string &text);
/// See areLanguageNames(); none for "no".
template <> std::optional<TextLanguages> valueOf(const std::string &text);

/// "neither yes nor no", in front of a value that is refused.
template <typename Value> const char *refusalOf();

template <> const char *refusalOf<std::string>();
template <> const char *refusalOf<bool>();
template <> const char *refusalOf<double>();
template <> const char *refusalOf<std::optional<SheetSize>>();
template <> const char *refusalOf<TextLanguages>();

/// "1920x1080": a width and a height in pixels.
std::optional<std::pair<int, int>> modeSizeOf(const std::string &text);

} // namespace korv
