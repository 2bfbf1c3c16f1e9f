#include "library/files/kept_names.h"

#include "library/base/unique_fd.h"
#include "library/files/file_names.h"
#include "library/files/source_format.h"

#include <cstdio>
#include <fcntl.h>

namespace korv {

namespace {

std::string numbered(const char *what, int number)
{
    char text[32];
    std::snprintf(text, sizeof text, "%s-%04d", what, number);
    return text;
}

} // namespace

std::string extensionByContent(const std::string &path)
{
    std::uint8_t head[16] = {};
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    const ssize_t count = file ? ::pread(file.get(), head, sizeof head, 0) : 0;
    const SourceFormat format =
        recogniseFormat({head, static_cast<std::size_t>(count > 0 ? count : 0)});
    if (format != SourceFormat::Unknown)
        return extensionFor(format);
    const std::string extension = extensionOf(path);
    return extension.empty() ? std::string() : "." + extension;
}

std::string rescuedName(const std::string &stem, int number, const std::string &extension)
{
    return joinedName(stem, numbered("-rescued", number) + extension);
}

std::string recoveredName(int number, const std::string &extension)
{
    return numbered("recovered", number) + extension;
}

} // namespace korv
