#pragma once

#include <string>
#include <vector>

namespace korv {

/// Keeps the pages of a failed export that the caller deletes whatever the result was: its working
/// files, see isWorkingFile(); other sources stay where they are, and are nobody's to delete. Each
/// gets a second name beside the destination: a hard link, or a copy where links are not possible.
/// For "0001.pdf" the names are "0001-rescued-0001.jpg", "0001-rescued-0002.jpg", ...; taken names
/// are skipped, the extension is that of the content. When nothing can be made beside the
/// destination, the file is kept beside its source. When there is no room for a copy either, the
/// working file itself takes such a name, which needs none. Each new name is told on standard error.
/// Sources that do not exist, are empty, or are no regular files have nothing to keep; one that is
/// listed twice is kept once. Nothing is done where the environment says, with a value of
/// KORV_CAMERA_NO_RESCUE, that this process deletes no sources.
void rescuePages(const std::vector<std::string> &sources, const std::string &destination);

} // namespace korv
