#pragma once

#include <string>

namespace korv {

/// The folder part of a path, "." when there is none. Bytes, no encoding assumed.
std::string folderOf(const std::string &path);

/// What stands behind the last slash; empty when nothing does.
std::string fileNameOf(const std::string &path);

/// What stands behind the name's last dot, ASCII letters made small; empty when there is no dot or
/// only a leading one.
std::string extensionOf(const std::string &path);

/// A file name with `insertion` in front of its extension: "0001.pdf" and " (1)" make
/// "0001 (1).pdf". The part in front is cut, between UTF-8 characters, when the result would be
/// longer than file systems take (255 bytes).
std::string withInsertion(const std::string &name, const std::string &insertion);

/// `stem` and `tail` together; the stem is cut as above.
std::string joinedName(const std::string &stem, const std::string &tail);

/// Whether the path is that of a working file, which callers delete after its export whatever the
/// result was: a name that begins with a dot and ends in "-preview-", four digits or more, ".jpg".
bool isWorkingFile(const std::string &path);

} // namespace korv
