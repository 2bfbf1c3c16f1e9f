#pragma once

#include <optional>
#include <string>

namespace korv {

/// Where the system says which time zone it is in; a test has files of its own.
struct ZoneFiles
{
    std::string localtime = "/etc/localtime"; ///< a link into the zones
    std::string name = "/etc/timezone"; ///< Debian's file with the zone's name
    std::string zones = "/usr/share/zoneinfo"; ///< with zone.tab in it
};

/// The country (ISO 3166, "DE") of a time zone ("Europe/Berlin"); empty when the zone belongs to
/// none, or is not known.
std::string countryOfZone(const std::string &zone, const ZoneFiles &files);

/// The time zone's name by the environment variable TZ, else by the system; empty when neither says.
std::string timeZone(const ZoneFiles &files);

/// Hertz of the mains in a country; nothing where there are both (Japan), or for no country.
std::optional<int> mainsFrequencyOf(const std::string &country);

/// Hertz of the mains where this computer is, as far as its time zone tells.
std::optional<int> mainsFrequency(const ZoneFiles &files = {});

} // namespace korv
