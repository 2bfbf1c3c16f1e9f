#include "cli/commandline/namechecks.h"

#include "cli/base/filenames.h"
#include "cli/commandline/namepattern.h"

#include <algorithm>
#include <vector>

namespace cli {
namespace {

std::string listOf(const std::vector<std::string> &words)
{
    std::string list;
    for (const std::string &word : words)
        list += (list.empty() ? "" : ", ") + word;
    return list;
}

constexpr char kStandardStream[] = "-";

/// Empty when the extension of `path` is one of `known`, otherwise what to write instead.
std::string checkType(const std::string &path, const std::vector<std::string> &known,
                      const std::string &what)
{
    const std::string extension = extensionOf(path);
    if (std::find(known.begin(), known.end(), extension) != known.end())
        return {};
    const std::string list = listOf(known);
    if (extension.empty())
        return path + " has no extension that chooses the file type; " + what + ": " + list;
    return "unknown file type ." + extension + "; " + what + ": " + list;
}

} // namespace

std::string checkPictureName(const std::string &path)
{
    if (path == kStandardStream)
        return {};
    return checkType(path, {"jpg", "jpeg", "png", "bmp", "tif", "tiff", "pdf", "ofd"}, "known");
}

std::string checkDocumentName(const std::string &path)
{
    if (path == kStandardStream)
        return {};
    return checkType(path, {"pdf", "ofd", "tif", "tiff"}, "known for documents");
}

std::string checkScanName(const std::string &path)
{
    if (path == kStandardStream)
        return "pages go to a file";
    if (NamePattern::read(path))
        return checkPictureName(path);
    const std::string problem = checkDocumentName(path);
    return problem.empty() || !checkPictureName(path).empty()
        ? problem
        : "single pictures need a place for a number in their name, like page-%03d.jpg: " + path;
}

} // namespace cli
