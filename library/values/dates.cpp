#include "library/values/dates.h"

#include <cstdio>
#include <cstdlib>

namespace korv {

std::tm localTime(std::time_t time)
{
    std::tm local{};
    if (::localtime_r(&time, &local) != nullptr)
        return local;
    local = {};
    local.tm_year = 70;
    local.tm_mday = 1;
    return local;
}

std::string isoDate(std::time_t time)
{
    const std::tm local = localTime(time);
    char date[80];
    std::snprintf(date, sizeof date, "%04d-%02d-%02dT%02d:%02d:%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    return date + isoOffset(time);
}

std::string isoOffset(std::time_t time)
{
    const long minutes = localTime(time).tm_gmtoff / 60;
    char offset[48];
    std::snprintf(offset, sizeof offset, "%c%02ld:%02ld", minutes < 0 ? '-' : '+',
                  std::labs(minutes) / 60, std::labs(minutes) % 60);
    return offset;
}

std::string tiffDate(std::time_t time)
{
    const std::tm local = localTime(time);
    char date[20];
    if (std::strftime(date, sizeof date, "%Y:%m:%d %H:%M:%S", &local) != sizeof date - 1)
        return "1970:01:01 00:00:00";
    return date;
}

} // namespace korv
