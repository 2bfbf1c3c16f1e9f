#pragma once

#include <optional>
#include <string>

namespace cli {

/// A page size as the camera library reads it: A3, A4, A5, letter, card, or WIDTHxHEIGHT in
/// millimetres. `text` may be written in any case; nothing when it is none of these.
std::optional<std::string> toPageSize(const std::string &text);

} // namespace cli
