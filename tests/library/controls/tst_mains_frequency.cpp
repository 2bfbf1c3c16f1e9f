#include "library/controls/mains_frequency.h"

#include "tests/library/support/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace korv;

namespace fs = std::filesystem;

namespace {

/// A system with three zones, one of them under its old name too.
class Mains : public testing::Test
{
protected:
    Mains()
    {
        m_files.localtime = m_folder.path() + "/localtime";
        m_files.name = m_folder.path() + "/timezone";
        m_files.zones = m_folder.path() + "/zoneinfo";
        fs::create_directories(m_files.zones + "/Europe");
        fs::create_directories(m_files.zones + "/America");
        fs::create_directories(m_files.zones + "/US");
        for (const char *zone : {"Europe/Berlin", "America/New_York", "Asia_Tokyo"})
            std::ofstream(m_files.zones + "/" + zone) << "TZif";
        fs::create_symlink("../America/New_York", m_files.zones + "/US/Eastern");
        std::ofstream(m_files.zones + "/zone.tab")
            << "# comment\nDE\t+5230+01322\tEurope/Berlin\tmost of Germany\n"
               "US\t+404251-0740023\tAmerica/New_York\tEastern\nJP\t+353916+1394441\tAsia_Tokyo\n";
        ::unsetenv("TZ");
    }
    ~Mains() override { ::unsetenv("TZ"); }

    void link(const std::string &zone)
    {
        fs::remove(m_files.localtime);
        fs::create_symlink("/usr/share/zoneinfo/" + zone, m_files.localtime);
    }

    testing_support::TemporaryFolder m_folder;
    ZoneFiles m_files;
};

} // namespace

TEST_F(Mains, followTheSystemsZone)
{
    EXPECT_EQ(mainsFrequency(m_files), std::nullopt);
    link("Europe/Berlin");
    EXPECT_EQ(mainsFrequency(m_files), 50);
    link("America/New_York");
    EXPECT_EQ(mainsFrequency(m_files), 60);
    link("Etc/UTC");
    EXPECT_EQ(mainsFrequency(m_files), std::nullopt);
}

TEST_F(Mains, oldNamesOfZonesCount)
{
    link("US/Eastern");
    EXPECT_EQ(mainsFrequency(m_files), 60);
}

TEST_F(Mains, copyOfAZoneIsToldByDebiansFile)
{
    std::ofstream(m_files.localtime) << "TZif";
    std::ofstream(m_files.name) << "Europe/Berlin\n";
    EXPECT_EQ(mainsFrequency(m_files), 50);
}

TEST_F(Mains, environmentWins)
{
    link("Europe/Berlin");
    for (const char *zone :
         {"America/New_York", ":America/New_York", "/usr/share/zoneinfo/America/New_York"}) {
        ::setenv("TZ", zone, 1);
        EXPECT_EQ(mainsFrequency(m_files), 60) << zone;
    }
    // this says when, not where
    ::setenv("TZ", "EST5EDT", 1);
    EXPECT_EQ(mainsFrequency(m_files), 50);
    ::setenv("TZ", "../../etc/passwd", 1);
    EXPECT_EQ(mainsFrequency(m_files), std::nullopt);
}

TEST_F(Mains, countryWithBothIsNotGuessed)
{
    EXPECT_EQ(mainsFrequencyOf("JP"), std::nullopt);
    EXPECT_EQ(mainsFrequencyOf(""), std::nullopt);
    EXPECT_EQ(mainsFrequencyOf("CN"), 50);
    EXPECT_EQ(mainsFrequencyOf("KR"), 60);
}
