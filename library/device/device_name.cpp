#include "library/device/device_name.h"

#include <cstddef>

namespace korv {
namespace {

constexpr std::size_t kMaxNameLength = 63;

/// Length of the well-formed UTF-8 sequence at `at` (Unicode 15, table 3-7), 0 when there is none.
std::size_t sequenceLength(const std::string &text, std::size_t at)
{
    const auto byte = [&](std::size_t offset) {
        return at + offset < text.size() ? static_cast<unsigned char>(text[at + offset]) : 0U;
    };
    const auto follows = [&](std::size_t offset, unsigned low = 0x80, unsigned high = 0xBF) {
        return byte(offset) >= low && byte(offset) <= high;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return follows(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned low = lead == 0xE0 ? 0xA0 : 0x80; // no overlong forms
        const unsigned high = lead == 0xED ? 0x9F : 0xBF; // no surrogates
        return follows(1, low, high) && follows(2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
        return follows(1, low, high) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

std::string cleaned(const std::string &raw)
{
    std::string name;
    for (std::size_t at = 0; at < raw.size();) {
        const std::size_t length = sequenceLength(raw, at);
        const auto lead = static_cast<unsigned char>(raw[at]);
        if (length == 0)
            name += '?';
        else if (lead == ',' || lead < 0x20 || lead == 0x7F)
            name += ' ';
        else
            name.append(raw, at, length);
        at += length == 0 ? 1 : length;
    }
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
    std::string name = trimmed(cleaned(raw));
    if (name.size() > kMaxNameLength) {
        std::size_t end = 0;
        while (end + sequenceLength(name, end) <= kMaxNameLength)
            end += sequenceLength(name, end);
        name = trimmed(name.substr(0, end));
    }
    return name.empty() ? "USB Camera" : name;
}

std::string nodeLabel(const std::string &node, const std::string &model)
{
    return model.empty() ? node : node + " (" + usableDeviceName(model) + ")";
}

} // namespace korv
