#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

#include <string>

namespace korv {

/// Writes a file whole or not at all: a temporary file in the same folder, synced, then renamed.
/// An existing file is replaced. Errors: what the system answered (-ENOENT folder, -ENOSPC, ...).
Result<void> writeFileAtomically(const std::string &path, ByteView content);

} // namespace korv
