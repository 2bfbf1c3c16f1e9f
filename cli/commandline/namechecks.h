#pragma once

#include <string>

namespace cli {

// Each says what is wrong with the name of a new file, and what to write instead; empty when nothing
// is.

/// Anything that a picture can be converted to, or "-".
std::string checkPictureName(const std::string &path);

/// A document of many pages, or "-".
std::string checkDocumentName(const std::string &path);

/// A document that can have text.
std::string checkTextDocumentName(const std::string &path);

/// A document, or a pattern for pictures.
std::string checkScanName(const std::string &path);

} // namespace cli
