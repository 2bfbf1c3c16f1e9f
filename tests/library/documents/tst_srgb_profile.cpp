#include "library/documents/pdf/srgb_profile.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>

using namespace korv;

namespace {

std::uint32_t big32(const Bytes &bytes, std::size_t at)
{
    return static_cast<std::uint32_t>(bytes[at]) << 24
        | static_cast<std::uint32_t>(bytes[at + 1]) << 16
        | static_cast<std::uint32_t>(bytes[at + 2]) << 8 | bytes[at + 3];
}

double fixedAt(const Bytes &bytes, std::size_t at)
{
    return static_cast<std::int32_t>(big32(bytes, at)) / 65536.0;
}

std::string textAt(const Bytes &bytes, std::size_t at)
{
    return std::string(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                       bytes.begin() + static_cast<std::ptrdiff_t>(at) + 4);
}

class SrgbProfileTest : public testing::Test
{
protected:
    void SetUp() override
    {
        for (std::uint32_t i = 0; i < big32(m_profile, 128); ++i) {
            const std::size_t entry = 132 + 12 * std::size_t{i};
            const std::size_t at = big32(m_profile, entry + 4);
            const std::size_t size = big32(m_profile, entry + 8);
            ASSERT_LE(at + size, m_profile.size());
            EXPECT_EQ(at % 4, 0U);
            m_tags[textAt(m_profile, entry)] = at;
        }
    }
    std::array<double, 3> xyz(const std::string &tag) const
    {
        const std::size_t at = m_tags.at(tag) + 8;
        return {fixedAt(m_profile, at), fixedAt(m_profile, at + 4), fixedAt(m_profile, at + 8)};
    }

    Bytes m_profile = srgbProfile();
    std::map<std::string, std::size_t> m_tags;
};

} // namespace

TEST_F(SrgbProfileTest, headerIsThatOfADisplayProfile)
{
    EXPECT_EQ(big32(m_profile, 0), m_profile.size());
    EXPECT_EQ(textAt(m_profile, 12), "mntr");
    EXPECT_EQ(textAt(m_profile, 16), "RGB ");
    EXPECT_EQ(textAt(m_profile, 20), "XYZ ");
    EXPECT_EQ(textAt(m_profile, 36), "acsp");
    EXPECT_EQ(m_profile.size() % 4, 0U);
}

TEST_F(SrgbProfileTest, primariesAreThePublishedOnes)
{
    // sRGB adapted to D50 with Bradford's matrix, as tables of colour science print it
    const std::map<std::string, std::array<double, 3>> published = {
        {"rXYZ", {0.4360747, 0.2225045, 0.0139322}},
        {"gXYZ", {0.3850649, 0.7168786, 0.0971045}},
        {"bXYZ", {0.1430804, 0.0606169, 0.7141733}}};
    for (const auto &[tag, expected] : published) {
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(xyz(tag)[i], expected[i], 5e-4) << tag << i;
    }
}

TEST_F(SrgbProfileTest, theThreeTogetherAreWhite)
{
    const std::array<double, 3> white = {0.9642, 1, 0.8249};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(xyz("rXYZ")[i] + xyz("gXYZ")[i] + xyz("bXYZ")[i], white[i], 5e-5);
        EXPECT_NEAR(xyz("wtpt")[i], white[i], 2e-5);
    }
}

TEST_F(SrgbProfileTest, curveIsThatOfSrgb)
{
    for (const std::string tag : {"rTRC", "gTRC", "bTRC"}) {
        const std::size_t at = m_tags.at(tag);
        EXPECT_EQ(textAt(m_profile, at), "para");
        const auto parameter = [&](std::size_t i) { return fixedAt(m_profile, at + 12 + 4 * i); };
        EXPECT_NEAR(parameter(0), 2.4, 1e-4);
        // both branches meet, and full strength is full strength
        const double edge = parameter(4);
        EXPECT_NEAR(std::pow(parameter(1) * edge + parameter(2), parameter(0)), parameter(3) * edge,
                    1e-4);
        EXPECT_NEAR(std::pow(parameter(1) + parameter(2), parameter(0)), 1, 1e-4);
        EXPECT_NEAR(std::pow(parameter(1) * 0.5 + parameter(2), parameter(0)), 0.21404, 1e-4);
    }
}

TEST_F(SrgbProfileTest, isAlwaysTheSame)
{
    EXPECT_EQ(srgbProfile(), m_profile);
}
