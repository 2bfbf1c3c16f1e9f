#pragma once

#include "library/base/result.h"
#include "library/imaging/image.h"
#include "library/output/format.h"

#include <string>
#include <vector>

namespace korv {

/// Writes picture files as the pages of one document; the file appears whole or not at all.
/// `format` must be a document's. A page that cannot be read fails the document with its error.
/// -ENODATA no pages. Throws what the standard library throws.
Result<void> writeDocument(const std::vector<std::string> &sources, const Format &format,
                           const std::string &destination, int quality);

/// The same with pixels as the only page.
Result<void> writeDocument(const Image &image, const Format &format, const std::string &destination,
                           int quality);

} // namespace korv
