#pragma once

#include "library/base/result.h"
#include "library/documents/document_settings.h"
#include "library/image/image.h"

#include <string>

namespace korv {

/// Converts image file `source` (format by content) into the new file `destination` (format by
/// extension), of a TIFF all pages, or the first one where there is room for one only; an existing file
/// stays, see Existing::KeepBoth. When it fails for any reason but the extension, a source that is a
/// working file is kept, see rescuePages(). Errors: -EINVAL unknown extension, -EBADMSG
/// unreadable source, -EFBIG, or errno. `settings` are those of documents, but `clean` counts for
/// pictures too; the environment's do not count here. Where they have a recogniser, the source may also be a
/// document, see addText().
Result<void> convertImage(const std::string &source, const std::string &destination, int quality,
                          const DocumentSettings &settings = {});

/// Writes pixels as an image file, format by extension; an existing file stays. Errors as above.
Result<void> writeImage(const Image &image, const std::string &destination, int quality,
                        const DocumentSettings &settings = {});

} // namespace korv
