#pragma once

#include <string>

namespace cli {

/// The folder of a path as one can write it: "." without a slash in it, "/" for "/a".
std::string folderOf(const std::string &path);

/// What follows the last slash; empty when nothing does.
std::string fileNameOf(const std::string &path);

/// The extension in lower case and without its dot: "JPEG" is "jpeg". Empty when there is none.
std::string extensionOf(const std::string &path);

/// The bytes of a file; 0 when it is not there. A number that JsonLine takes.
double fileSize(const std::string &path);

/// A path with `insertion` before its extension: ("/a/b.pdf", " (1)") is "/a/b (1).pdf". A name that
/// became longer than file systems take loses letters before the insertion.
std::string withInsertion(const std::string &path, const std::string &insertion);

/// Name of photograph `number` (from 1) of `count`: `path` itself when there is only one, otherwise
/// the number in four digits before the extension: page.jpg, 2 gives page-0002.jpg.
std::string numberedPath(const std::string &path, int number, int count);

} // namespace cli
