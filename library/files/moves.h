#pragma once

#include "library/files/folder.h"

#include <string>

namespace korv {

/// Gives what is called `name` in `from` the free name `newName` in `to`, also where the file system
/// can neither rename without replacing nor link. No space is needed, but for the name. The caller
/// holds the lock of `to`. Errors: -EEXIST the name is taken, -EXDEV another file system, or what
/// the system answered; then everything is as it was.
Result<void> moveToFreeName(const Folder &from, const std::string &name, const Folder &to,
                            const std::string &newName);

/// Makes the working name of a photograph free: the picture that is there is called
/// "recovered-0001.jpg" from now on, or by the next free number, which is told on standard error. An
/// empty file, which a killed program's claim left, is removed. The caller holds the folder's lock.
/// Errors: -ENOENT nothing is there, -EISDIR a folder is, or what the system answered.
Result<void> makeWay(const Folder &folder, const std::string &path);

} // namespace korv
