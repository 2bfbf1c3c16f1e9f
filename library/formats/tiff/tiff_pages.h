#pragma once

#include "library/base/bytes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korv {

/// Where a TIFF's pages are described.
struct TiffPages
{
    /// Offsets of the pages' directories, in their order. Empty when the content is no TIFF.
    std::vector<std::uint64_t> directories;
    /// Why the list ends before its end; empty when it does not.
    const char *problem = ""; ///< a constant, as errors are built where memory may be short
};

/// Follows the chain of directories (TIFF 6.0 or BigTIFF, either byte order). Reduced pictures and
/// masks are no pages, unless there is nothing else, nor is what hangs below a directory. The chain
/// comes from outside: it ends where it leaves the content, runs in a circle, or where the pages
/// claim more data than there are. Throws std::bad_alloc only.
TiffPages tiffPages(ByteView content);

} // namespace korv
