#include "library/device/device_name.h"

#include "library/values/utf8.h"

#include <algorithm>
#include <cstddef>

namespace korv {
namespace {

constexpr std::size_t kMaxNameLength = 63;

/// Whether a name has a blank in this byte's place. No byte of a longer character is among them.
bool becomesBlank(char letter)
{
    const auto byte = static_cast<unsigned char>(letter);
    return byte == ',' || byte < 0x20 || byte == 0x7F;
}

std::string cleaned(const std::string &raw)
{
    std::string name = validUtf8(raw, "?");
    std::replace_if(name.begin(), name.end(), becomesBlank, ' ');
    return name;
}

std::string trimmed(const std::string &text)
{
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

} // namespace

std::string usableDeviceName(const std::string &raw)
{
    std::string name = trimmed(firstCharacters(trimmed(cleaned(raw)), kMaxNameLength));
    return name.empty() ? "USB Camera" : name;
}

std::string nodeLabel(const std::string &node, const std::string &model)
{
    return model.empty() ? node : node + " (" + usableDeviceName(model) + ")";
}

} // namespace korv
