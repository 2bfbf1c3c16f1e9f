#pragma once

#include <string>

namespace cli {

/// What a camera's negative result means for the person in front of it, in plain words; empty when
/// the system's own text says it all.
std::string advice(int result);

} // namespace cli
