#include "library/values/dates.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <string>

using namespace korv;

namespace {

constexpr std::time_t kMoment = 1'700'000'000; ///< 2023-11-14 22:13:20 UTC

class DatesTest : public testing::Test
{
protected:
    DatesTest()
    {
        if (const char *zone = std::getenv("TZ"))
            m_before = zone;
    }
    ~DatesTest() override { live(m_before.empty() ? nullptr : m_before.c_str()); }
    static void live(const char *zone)
    {
        if (zone != nullptr)
            ::setenv("TZ", zone, 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }

private:
    std::string m_before;
};

} // namespace

TEST_F(DatesTest, sayTheTimeOnTheWallAndHowFarItIsFromUtc)
{
    const struct
    {
        const char *zone;
        const char *iso;
        const char *tiff;
    } rows[] = {
        {"UTC0", "2023-11-14T22:13:20+00:00", "2023:11:14 22:13:20"},
        {"CST-8", "2023-11-15T06:13:20+08:00", "2023:11:15 06:13:20"},
        {"NST3:30", "2023-11-14T18:43:20-03:30", "2023:11:14 18:43:20"},
    };
    for (const auto &row : rows) {
        live(row.zone);
        EXPECT_EQ(isoDate(kMoment), row.iso);
        EXPECT_EQ(isoOffset(kMoment), std::string(row.iso).substr(19));
        EXPECT_EQ(tiffDate(kMoment), row.tiff);
    }
}

TEST_F(DatesTest, farFutureHasAResult)
{
    live("UTC0");
    EXPECT_EQ(tiffDate(std::time_t{300'000'000'000}), "1970:01:01 00:00:00");
    EXPECT_EQ(isoDate(std::numeric_limits<std::time_t>::max()), "1970-01-01T00:00:00+00:00");
    EXPECT_EQ(tiffDate(std::numeric_limits<std::time_t>::max()), "1970:01:01 00:00:00");
}
