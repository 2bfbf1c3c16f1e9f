#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/export/format.h"
#include "library/recognition/text_recogniser.h"

#include <string>

namespace korv {

/// Whether a file looks like a document that this library may have made, by its first bytes.
bool looksLikeDocument(const std::string &path);

/// Recognises the writing on the pages of `source`, a document that this library made earlier without
/// text, and writes it with that text to the new file `destination` of the same format; an existing
/// file stays (Existing::KeepBoth). A page whose text is not to be had goes without; then the file is
/// written all the same, and the result is -ENODATA.
/// Errors: -EBADMSG a document that cannot get text, and why; -EINVAL another format than the
/// destination's; -ENODATA no page has text, no file is made; those of readSourceFile() and AtomicFile.
/// Throws what the standard library and OpenCV throw.
Result<void> addText(const std::string &source, const Format &format,
                     const std::string &destination, TextRecogniser &recogniser);

} // namespace korv
