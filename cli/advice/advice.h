#pragma once

#include "util/noderights.h"

#include <string>
#include <vector>

namespace cli {

/// What a camera's negative result means for the person in front of it, in plain words; empty when
/// the system's own text says it all.
std::string advice(int result);

/// What to do about nodes that this user may not open, for a person; `rights` are the first one's.
std::string adviceOnRights(const std::vector<std::string> &paths,
                           const noderights::NodeRights &rights);

} // namespace cli
