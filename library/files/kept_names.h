#pragma once

#include <string>

namespace korv {

/// What a kept file's name ends with, dot included: by its content; a damaged head, or one that
/// cannot be read, leaves what the name says. May be empty.
std::string extensionByContent(const std::string &path);

/// "0001-rescued-0002.jpg" of "0001", 2 and ".jpg": a page whose export failed.
std::string rescuedName(const std::string &stem, int number, const std::string &extension);

/// "recovered-0002.jpg" of 2 and ".jpg": a photograph that an ended program left.
std::string recoveredName(int number, const std::string &extension);

/// Numbers of kept files go from 1 to this one.
constexpr int kMaxKeptFiles = 99'999;

} // namespace korv
