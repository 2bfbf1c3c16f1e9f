#include "cli/base/filenames.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace cli {
namespace {

constexpr std::size_t kMaxNameBytes = 255;

/// Where the extension of a name begins, its dot included; the name's end when it has none.
std::size_t extensionStart(const std::string &name)
{
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name.size() : dot;
}

} // namespace

std::string folderOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string fileNameOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string extensionOf(const std::string &path)
{
    const std::string name = fileNameOf(path);
    std::string extension = name.substr(std::min(extensionStart(name) + 1, name.size()));
    // tolower() would ask the locale what a format is called
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return extension;
}

double fileSize(const std::string &path)
{
    std::error_code unknown;
    const std::uintmax_t size = std::filesystem::file_size(path, unknown);
    return unknown ? 0 : static_cast<double>(size);
}

std::string withInsertion(const std::string &path, const std::string &insertion)
{
    const std::string name = fileNameOf(path);
    const std::size_t end = extensionStart(name);
    const std::string tail = insertion + name.substr(end);
    std::size_t kept = std::min(end, kMaxNameBytes - std::min(tail.size(), kMaxNameBytes));
    // a character of several bytes goes as a whole
    while (kept > 0 && kept < end && (name[kept] & 0xC0) == 0x80)
        --kept;
    return path.substr(0, path.size() - name.size()) + name.substr(0, kept) + tail;
}

std::string numberedPath(const std::string &path, int number, int count)
{
    if (count <= 1)
        return path;
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%04d", number);
    const std::filesystem::path whole(path);
    const std::string name = whole.stem().string() + suffix + whole.extension().string();
    return (whole.parent_path() / name).string();
}

} // namespace cli
