#pragma once

#include "library/base/result.h"
#include "library/imaging/image.h"
#include "library/output/format.h"

#include <string>
#include <vector>

namespace korv {

/// Writes picture files as the pages of one document; the file appears whole or not at all, and an
/// existing one stays (Existing::KeepBoth). `format` must be a document's. A page that cannot be
/// read does not spoil the document: the others are written, and the result is its error; without
/// any readable page no file is made. `left` becomes the sources that are in no finished file; it
/// is right also when an exception ends the call. -ENODATA no pages. Throws what the standard
/// library throws.
Result<void> writeDocument(const std::vector<std::string> &sources, const Format &format,
                           const std::string &destination, int quality,
                           std::vector<std::string> &left);

/// The same with pixels as the only page.
Result<void> writeDocument(const Image &image, const Format &format, const std::string &destination,
                           int quality);

} // namespace korv
