#pragma once

namespace cli {

/// Makes the process safe to work in, regardless of what it inherited: the first three descriptors
/// are open, so that no file of ours gets one of their numbers; a file that grows too large (ulimit
/// -f) and a reader that has gone are errors of the write; the end of a child can be waited for. The
/// library is told that this process deletes no sources. What is said to people is in their language.
/// Call it first in main().
void prepareProgram();

} // namespace cli
