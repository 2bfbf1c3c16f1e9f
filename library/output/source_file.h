#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

#include <string>

namespace korv {

/// Reads a whole picture file into `content`, whose memory is used again when it suffices. Only
/// regular files are read, behind symbolic links too: FIFOs and devices could block or never end.
/// (Not mapped: a file cut short by somebody else while mapped would kill the process.)
/// Errors: -EISDIR folder, -EINVAL neither file nor folder, -EFBIG, -ENOMEM, or what the system
/// answered.
Result<void> readSourceFile(const std::string &path, Bytes &content);

} // namespace korv
