#include "library/controls/mains_frequency.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

namespace korv {
namespace {

namespace fs = std::filesystem;

/// Where the mains have 60 Hz; everywhere else they have 50. Source: IEC, "World plugs"
/// (https://www.iec.ch/world-plugs), the table of frequencies by country.
constexpr std::array<std::string_view, 47> kSixtyHertz{
    "AG", "AI", "AS", "AW", "BM", "BR", "BS", "BZ", "CA", "CO", "CR", "CU", "DO", "EC", "FM", "GT",
    "GU", "GY", "HN", "HT", "KN", "KP", "KR", "KY", "MH", "MP", "MS", "MX", "NI", "PA", "PE", "PF",
    "PH", "PR", "PW", "SA", "SR", "SV", "SX", "TC", "TT", "TW", "UM", "US", "VE", "VG", "VI"};

/// Half of Japan has 50 Hz, half 60, and its only time zone does not tell which; in Liberia and on
/// the Dutch Caribbean islands both are in use.
constexpr std::array<std::string_view, 3> kBoth{"JP", "LR", "BQ"};

template <typename List> bool holds(const List &list, std::string_view country)
{
    return std::find(list.begin(), list.end(), country) != list.end();
}

std::string firstLine(const std::string &file)
{
    std::string line;
    std::ifstream stream(file);
    std::getline(stream, line);
    return line;
}

/// "Europe/Berlin" of "/usr/share/zoneinfo/Europe/Berlin"; empty for other paths.
std::string zoneIn(const std::string &path)
{
    constexpr std::string_view kFolder = "zoneinfo/";
    const std::size_t start = path.rfind(kFolder);
    return start == std::string::npos ? std::string() : path.substr(start + kFolder.size());
}

std::string countryInTable(const std::string &zone, const std::string &table)
{
    std::ifstream stream(table);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream fields(line);
        std::string country;
        std::string place;
        std::string name;
        if (line.compare(0, 1, "#") != 0 && fields >> country >> place >> name && name == zone)
            return country;
    }
    return {};
}

} // namespace

std::string countryOfZone(const std::string &zone, const ZoneFiles &files)
{
    if (zone.empty() || zone.find("..") != std::string::npos)
        return {};
    const std::string table = files.zones + "/zone.tab";
    if (std::string country = countryInTable(zone, table); !country.empty())
        return country;
    // an old name is a link to the present one: US/Eastern, Asia/Calcutta
    std::error_code error;
    const fs::path root = fs::canonical(files.zones, error);
    const fs::path real = error ? fs::path() : fs::canonical(root / zone, error);
    if (error)
        return {};
    return countryInTable(real.lexically_relative(root).string(), table);
}

std::string timeZone(const ZoneFiles &files)
{
    // a secure process must not be led to files by its environment
    const char *const value = ::secure_getenv("TZ");
    std::string zone = value ? value : "";
    if (zone.compare(0, 1, ":") == 0)
        zone.erase(0, 1);
    if (zone.compare(0, 1, "/") == 0)
        zone = zoneIn(zone);
    // "CET-1CEST" says when, not where
    if (zone.find('/') != std::string::npos)
        return zone;
    std::error_code error;
    zone = zoneIn(fs::read_symlink(files.localtime, error).string());
    return zone.empty() ? firstLine(files.name) : zone;
}

std::optional<int> mainsFrequencyOf(const std::string &country)
{
    if (country.empty() || holds(kBoth, country))
        return std::nullopt;
    return holds(kSixtyHertz, country) ? 60 : 50;
}

std::optional<int> mainsFrequency(const ZoneFiles &files)
{
    return mainsFrequencyOf(countryOfZone(timeZone(files), files));
}

} // namespace korv
