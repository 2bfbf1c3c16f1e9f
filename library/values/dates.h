#pragma once

#include <ctime>
#include <string>

namespace korv {

/// Local time; the beginning of 1970, in UTC, where the system cannot tell.
std::tm localTime(std::time_t time);

/// A date of ISO 8601 in local time with its offset: 2026-01-31T23:59:58+08:00.
std::string isoDate(std::time_t time);

/// The offset of local time alone: +08:00.
std::string isoOffset(std::time_t time);

/// A date as TIFF and Exif write it, in local time: 2026:01:31 23:59:58. 1970:01:01 00:00:00 for a
/// year of more than four digits, which they have no room for.
std::string tiffDate(std::time_t time);

} // namespace korv
