#include "cli/serve/escl/scansettings.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <pugixml.hpp>

namespace cli {
namespace {

constexpr unsigned kBadRequest = 400;
constexpr unsigned kConflict = 409;
constexpr int kPreferredResolution = 300;
// regions smaller than this have no pixel at the lowest resolutions
constexpr int kMinRegionSide = 8;

const char *withoutPrefix(const char *name)
{
    const char *const colon = std::strchr(name, ':');
    return colon ? colon + 1 : name;
}

pugi::xml_node childOf(const pugi::xml_node &parent, const char *name)
{
    return parent.find_child([name](const pugi::xml_node &child) {
        return child.type() == pugi::node_element
            && std::strcmp(withoutPrefix(child.name()), name) == 0;
    });
}

std::string textOf(const pugi::xml_node &parent, const char *name)
{
    std::string text = childOf(parent, name).text().get();
    const char *const blanks = " \t\r\n";
    text.erase(0, text.find_first_not_of(blanks));
    text.erase(text.find_last_not_of(blanks) + 1);
    return text;
}

SettingsRefusal conflict(const std::string &what, const std::string &value)
{
    return {kConflict, what + " is not offered: " + value.substr(0, 80)};
}

/// Reads settings one by one; the first refusal stays.
class Reader
{
public:
    Reader(const pugi::xml_node &root, const ScannerLimits &limits)
        : m_root(root)
        , m_limits(limits)
    {
    }

    std::variant<ScanSettings, SettingsRefusal> read()
    {
        readSource();
        readColor();
        readFormat();
        readResolution();
        readRegion();
        if (m_refusal)
            return *m_refusal;
        return m_settings;
    }

private:
    void refuse(SettingsRefusal refusal)
    {
        if (!m_refusal)
            m_refusal = std::move(refusal);
    }

    /// A whole number, or `missing` when there is no such element.
    int number(const pugi::xml_node &parent, const char *name, int missing)
    {
        const std::string text = textOf(parent, name);
        if (text.empty())
            return missing;
        int value = 0;
        const char *const end = text.data() + text.size();
        const std::from_chars_result read = std::from_chars(text.data(), end, value);
        if (read.ec == std::errc() && read.ptr == end && value >= 0)
            return value;
        refuse({kBadRequest, std::string(name) + " is not a number"});
        return missing; // nobody computes with what was refused
    }

    void readSource()
    {
        const std::string source = textOf(m_root, "InputSource");
        if (source.empty() || source == "Platen")
            m_settings.source = ScanInput::Platen;
        else if (source == "Feeder" && m_limits.hasFeeder)
            m_settings.source = ScanInput::Feeder;
        else
            refuse(conflict("the input source", source));
    }

    void readColor()
    {
        const std::string mode = textOf(m_root, "ColorMode");
        if (mode.empty() || mode == "RGB24")
            m_settings.color = ScanColor::Color;
        else if (mode == "Grayscale8")
            m_settings.color = ScanColor::Gray;
        else if (mode == "BlackAndWhite1")
            m_settings.color = ScanColor::Lineart;
        else
            refuse(conflict("the colour mode", mode));
    }

    void readFormat()
    {
        std::string format = textOf(m_root, "DocumentFormatExt");
        if (format.empty())
            format = textOf(m_root, "DocumentFormat");
        if (format.empty() || format == mimeType(ScanFormat::Jpeg))
            m_settings.format = ScanFormat::Jpeg;
        else if (format == mimeType(ScanFormat::Pdf))
            m_settings.format = ScanFormat::Pdf;
        else
            refuse(conflict("the document format", format));
    }

    void readResolution()
    {
        const std::vector<int> &offered = m_limits.resolutions;
        const auto isOffered = [&](int resolution) {
            return std::find(offered.begin(), offered.end(), resolution) != offered.end();
        };
        const int standard =
            isOffered(kPreferredResolution) ? kPreferredResolution : offered.back();
        const int across = number(m_root, "XResolution", standard);
        const int down = number(m_root, "YResolution", across);
        if (across != down || !isOffered(across))
            refuse(conflict("the resolution", std::to_string(across) + "x" + std::to_string(down)));
        m_settings.resolution = across;
    }

    void readRegion()
    {
        const pugi::xml_node regions = childOf(m_root, "ScanRegions");
        const pugi::xml_node region = childOf(regions, "ScanRegion");
        const std::string units = textOf(region, "ContentRegionUnits");
        if (!units.empty() && std::strcmp(withoutPrefix(units.c_str()), "ThreeHundredthsOfInches"))
            return refuse(conflict("the unit of regions", units));
        const int x = number(region, "XOffset", 0);
        const int y = number(region, "YOffset", 0);
        // computed without sums that could overflow
        const int width = std::min(number(region, "Width", m_limits.maxWidth),
                                   m_limits.maxWidth - std::min(x, m_limits.maxWidth));
        const int height = std::min(number(region, "Height", m_limits.maxHeight),
                                    m_limits.maxHeight - std::min(y, m_limits.maxHeight));
        if (width < kMinRegionSide || height < kMinRegionSide)
            refuse(
                conflict("a region this small",
                         std::to_string(width) + "x" + std::to_string(height) + " in 1/300 inch"));
        m_settings.region = {x, y, width, height};
    }

    const pugi::xml_node m_root;
    const ScannerLimits &m_limits;
    ScanSettings m_settings;
    std::optional<SettingsRefusal> m_refusal;
};

} // namespace

std::variant<ScanSettings, SettingsRefusal> parseScanSettings(const std::string &xml,
                                                              const ScannerLimits &limits)
{
    pugi::xml_document document;
    // the standard set skips document type declarations, and with them all entities of one's own
    const pugi::xml_parse_result parsed =
        document.load_buffer(xml.data(), xml.size(), pugi::parse_default);
    if (!parsed)
        return SettingsRefusal{kBadRequest, std::string("broken XML: ") + parsed.description()};
    const pugi::xml_node root = childOf(document, "ScanSettings");
    if (!root)
        return SettingsRefusal{kBadRequest, "the document is no ScanSettings"};
    return Reader(root, limits).read();
}

const char *mimeType(ScanFormat format)
{
    return format == ScanFormat::Pdf ? "application/pdf" : "image/jpeg";
}

} // namespace cli
