#include "library/settings/settings.h"

#include <charconv>
#include <cstdio>

namespace korv {

namespace {

constexpr char kPrefix[] = "camera ";
constexpr std::size_t kDigits = 4;

std::optional<int> identifierOf(const char *first)
{
    int number = 0;
    const std::from_chars_result read = std::from_chars(first, first + kDigits, number, 16);
    if (read.ec != std::errc() || read.ptr != first + kDigits || number < 0)
        return std::nullopt;
    return number;
}

} // namespace

std::optional<CameraModel> cameraModelOf(const std::string &section)
{
    constexpr std::size_t kStart = sizeof(kPrefix) - 1;
    if (section.compare(0, kStart, kPrefix) != 0 || section.size() != kStart + 2 * kDigits + 1
        || section[kStart + kDigits] != ':')
        return std::nullopt;
    const auto vid = identifierOf(section.data() + kStart);
    const auto pid = identifierOf(section.data() + kStart + kDigits + 1);
    if (!vid || !pid)
        return std::nullopt;
    return CameraModel{*vid, *pid};
}

std::string sectionOf(const CameraModel &model)
{
    char text[32];
    std::snprintf(text, sizeof text, "%s%04x:%04x", kPrefix, static_cast<unsigned>(model.first),
                  static_cast<unsigned>(model.second));
    return text;
}

const CameraSettings *Settings::camera(int vid, int pid) const
{
    const auto found = cameras.find({vid, pid});
    return found != cameras.end() ? &found->second : nullptr;
}

} // namespace korv
