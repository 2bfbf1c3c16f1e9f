#include "cli/serve/escl/scansettings.h"

#include <gmock/gmock.h>

namespace {

using cli::parseScanSettings;
using cli::ScanColor;
using cli::ScanFormat;
using cli::ScanSettings;
using cli::SettingsRefusal;

const cli::ScannerLimits kLimits{{75, 150, 300}, 2622, 3579};

ScanSettings accepted(const std::string &inner)
{
    const auto parsed =
        parseScanSettings("<s:ScanSettings>" + inner + "</s:ScanSettings>", kLimits);
    const auto *const refusal = std::get_if<SettingsRefusal>(&parsed);
    EXPECT_EQ(refusal, nullptr) << (refusal ? refusal->reason : "");
    return refusal ? ScanSettings() : std::get<ScanSettings>(parsed);
}

unsigned refused(const std::string &inner, const cli::ScannerLimits &limits = kLimits)
{
    const auto parsed = parseScanSettings("<ScanSettings>" + inner + "</ScanSettings>", limits);
    const auto *const refusal = std::get_if<SettingsRefusal>(&parsed);
    return refusal ? refusal->status : 0;
}

std::string region(const std::string &inner)
{
    return "<ScanRegions><ScanRegion>" + inner + "</ScanRegion></ScanRegions>";
}

TEST(ScanSettingsTest, whatIsMissingHasADefault)
{
    const ScanSettings settings = accepted("");
    EXPECT_EQ(settings.color, ScanColor::Color);
    EXPECT_EQ(settings.format, ScanFormat::Jpeg);
    EXPECT_EQ(settings.resolution, 300);
    EXPECT_EQ(settings.region.width, 2622);
    EXPECT_EQ(settings.region.height, 3579);
}

TEST(ScanSettingsTest, prefixesAndBlanksDoNotMatter)
{
    const ScanSettings settings =
        accepted("<a:ColorMode> BlackAndWhite1\n</a:ColorMode><XResolution>75</XResolution>"
                 "<x:DocumentFormat>application/pdf</x:DocumentFormat>");
    EXPECT_EQ(settings.color, ScanColor::Lineart);
    EXPECT_EQ(settings.format, ScanFormat::Pdf);
    EXPECT_EQ(settings.resolution, 75);
}

TEST(ScanSettingsTest, theExtendedFormatWins)
{
    EXPECT_EQ(accepted("<DocumentFormat>image/jpeg</DocumentFormat>"
                       "<DocumentFormatExt>application/pdf</DocumentFormatExt>")
                  .format,
              ScanFormat::Pdf);
}

TEST(ScanSettingsTest, aRegionIsCutToThePlaten)
{
    const cli::ScanRegion cut = accepted(region("<XOffset>600</XOffset><YOffset>3000</YOffset>"
                                                "<Width>2147483647</Width><Height>9999</Height>"))
                                    .region;
    EXPECT_EQ(cut.x, 600);
    EXPECT_EQ(cut.y, 3000);
    EXPECT_EQ(cut.width, 2022);
    EXPECT_EQ(cut.height, 579);
}

TEST(ScanSettingsTest, aRegionOutsideIsRefused)
{
    EXPECT_EQ(refused(region("<XOffset>2147483647</XOffset>")), 409U);
    EXPECT_EQ(refused(region("<Width>0</Width>")), 409U);
    EXPECT_EQ(refused(region("<Width>-5</Width>")), 400U);
}

TEST(ScanSettingsTest, anOffsetThatIsNoNumberIsRefused)
{
    for (const char *const offset : {"-1", "-2147483647", "2147483648", "1.5", "x"}) {
        EXPECT_EQ(refused(region("<XOffset>" + std::string(offset) + "</XOffset>")), 400U)
            << offset;
        EXPECT_EQ(refused(region("<Height>" + std::string(offset) + "</Height>")), 400U) << offset;
    }
}

TEST(ScanSettingsTest, unequalOrUnknownResolutionsAreRefused)
{
    EXPECT_EQ(refused("<XResolution>300</XResolution><YResolution>150</YResolution>"), 409U);
    EXPECT_EQ(refused("<XResolution>301</XResolution>"), 409U);
    EXPECT_EQ(refused("<XResolution>4294967596</XResolution>"), 400U);
}

TEST(ScanSettingsTest, aFeederIsRefusedWhereThereIsNone)
{
    EXPECT_EQ(refused("<InputSource>Feeder</InputSource>"), 409U);
}

TEST(ScanSettingsTest, aFeederIsTakenWhereThereIsOne)
{
    cli::ScannerLimits limits = kLimits;
    limits.hasFeeder = true;
    const auto source = [&limits](const std::string &name) {
        const auto parsed = parseScanSettings(
            "<ScanSettings><InputSource>" + name + "</InputSource></ScanSettings>", limits);
        return std::get<ScanSettings>(parsed).source;
    };
    EXPECT_EQ(source("Feeder"), cli::ScanInput::Feeder);
    EXPECT_EQ(source("Platen"), cli::ScanInput::Platen);
    EXPECT_EQ(refused("<InputSource>Camera</InputSource>", limits), 409U);
}

TEST(ScanSettingsTest, otherDocumentsAreNoRequest)
{
    for (const char *const xml : {"", "x", "<a/>", "<ScanSettings>", "<ScanSettings></a>"}) {
        const auto parsed = parseScanSettings(xml, kLimits);
        const auto *const refusal = std::get_if<SettingsRefusal>(&parsed);
        ASSERT_NE(refusal, nullptr) << xml;
        EXPECT_EQ(refusal->status, 400U);
    }
}

} // namespace
