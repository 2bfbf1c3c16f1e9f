#include "cli/commandline/namechecks.h"

#include "cli/base/filenames.h"
#include "cli/base/translation.h"
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
                      const char *what)
{
    const std::string extension = extensionOf(path);
    if (std::find(known.begin(), known.end(), extension) != known.end())
        return {};
    const std::string list = listOf(known);
    if (extension.empty())
        return tr("%1 has no extension that chooses the file type; %2: %3", path, tr(what), list);
    return tr("unknown file type .%1; %2: %3", extension, tr(what), list);
}

} // namespace

std::string checkPictureName(const std::string &path)
{
    if (path == kStandardStream)
        return {};
    return checkType(path, {"jpg", "jpeg", "png", "bmp", "tif", "tiff", "pdf", "ofd"},
                     trLater("known"));
}

std::string checkDocumentName(const std::string &path)
{
    if (path == kStandardStream)
        return {};
    return checkType(path, {"pdf", "ofd", "tif", "tiff"}, trLater("known for documents"));
}

std::string checkTextDocumentName(const std::string &path)
{
    return checkType(path, {"pdf", "ofd"}, trLater("known for documents with text"));
}

std::string checkScanName(const std::string &path)
{
    if (path == kStandardStream)
        return tr("pages go to a file");
    if (NamePattern::read(path))
        return checkPictureName(path);
    const std::string problem = checkDocumentName(path);
    return problem.empty() || !checkPictureName(path).empty()
        ? problem
        : tr("single pictures need a place for a number in their name, like page-%03d.jpg: %1",
             path);
}

} // namespace cli
