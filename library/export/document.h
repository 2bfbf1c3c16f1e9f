#pragma once

#include "library/base/result.h"
#include "library/documents/document_settings.h"
#include "library/export/format.h"
#include "library/image/image.h"

#include <string>
#include <vector>

namespace korv {

/// Writes picture files as the pages of one document, a TIFF as all of its pages; the file appears
/// whole or not at all, and an existing one stays (Existing::KeepBoth). `format` must be a
/// document's. A page that cannot be had does not spoil the document: the others are written,
/// standard error tells which one is missing and why, and the result is the first one's error;
/// without any page no file is made. `left` becomes the sources that are not, or not with all
/// pages, in a finished file; it is right also when an exception ends the call. -ENODATA no pages.
/// Throws what the standard library throws.
Result<void> writeDocument(const std::vector<std::string> &sources, const Format &format,
                           const std::string &destination, int quality,
                           const DocumentSettings &settings, std::vector<std::string> &left);

/// The same with pixels as the only page.
Result<void> writeDocument(const Image &image, const Format &format, const std::string &destination,
                           int quality, const DocumentSettings &settings);

} // namespace korv
