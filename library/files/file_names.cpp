#include "library/files/file_names.h"

#include <algorithm>
#include <string_view>

namespace korv {

std::string folderOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string fileNameOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string extensionOf(const std::string &path)
{
    const std::string name = fileNameOf(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0)
        return {};
    std::string extension = name.substr(dot + 1);
    // not tolower(): the locale must not decide what a format is called
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return extension;
}

std::string joinedName(const std::string &stem, const std::string &tail)
{
    constexpr std::size_t kMaxNameLength = 255;
    std::size_t kept = stem.size();
    if (kept + tail.size() > kMaxNameLength) {
        kept = tail.size() < kMaxNameLength ? kMaxNameLength - tail.size() : 0;
        const auto continuesCharacter = [](char byte) { return (byte & 0xC0) == 0x80; };
        while (kept > 0 && continuesCharacter(stem[kept]))
            --kept;
    }
    return stem.substr(0, kept) + tail;
}

std::string withInsertion(const std::string &name, const std::string &insertion)
{
    std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0)
        dot = name.size();
    return joinedName(name.substr(0, dot), insertion + name.substr(dot));
}

bool isWorkingFile(const std::string &path)
{
    constexpr std::string_view kMark = "-preview-";
    constexpr std::string_view kEnd = ".jpg";
    constexpr std::size_t kMinDigits = 4;
    const std::string name = fileNameOf(path);
    const std::size_t mark = name.rfind(kMark);
    if (name[0] != '.' || mark == std::string::npos || mark == 0)
        return false;
    const std::size_t digits = mark + kMark.size();
    const std::size_t end = name.find_first_not_of("0123456789", digits);
    return end != std::string::npos && end - digits >= kMinDigits
        && name.compare(end, std::string::npos, kEnd) == 0;
}

} // namespace korv
