#include "library/settings/settings_keys.h"
#include "library/settings/settings_reader.h"

#include "tests/support/temp_home.h"

#include <gmock/gmock.h>

using namespace korv;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string kPackaging = KORV_PACKAGING;

/// The example with its keys switched on.
std::string switchedOn(std::string text)
{
    const auto isKey = [](const std::string &line) {
        return line.size() > 1 && line[0] == '#' && line[1] != ' ';
    };
    std::string result;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        result += (isKey(line) ? line.substr(1) : line) + "\n";
        start = end + 1;
    }
    return result;
}

} // namespace

TEST(SettingsDocuments, manualPagesDescribeEveryKey)
{
    for (const std::string page : {"korv-camera.conf.5", "korv-camera.conf.zh_CN.5"}) {
        std::string text = support::readFile(kPackaging + "/man/" + page);
        for (std::size_t at = text.find("\\-"); at != std::string::npos; at = text.find("\\-"))
            text.replace(at, 2, "-");
        for (const SettingKey &key : settingKeys()) {
            EXPECT_THAT(text, HasSubstr(std::string("\n.SS [") + key.section + "]\n")) << page;
            EXPECT_THAT(text, HasSubstr(std::string("\n.BR ") + key.name + " \" = ")) << page;
            const std::string variable = key.environment != nullptr ? key.environment : "";
            EXPECT_THAT(text, HasSubstr(variable)) << page;
        }
        for (const CameraSettingKey &key : cameraSettingKeys())
            EXPECT_THAT(text, HasSubstr(std::string("\n.BR ") + key.name)) << page;
    }
}

TEST(SettingsDocuments, exampleChangesNothing)
{
    const SettingsReading reading = readSettings({kPackaging + "/examples/korv-camera.conf", ""});
    EXPECT_EQ(reading.files.size(), 1U);
    EXPECT_THAT(reading.inForce, IsEmpty());
    EXPECT_THAT(reading.problems, IsEmpty());
}

TEST(SettingsDocuments, exampleHasEveryKey)
{
    const support::TempHome home;
    const std::string path =
        home.write("all.conf",
                   switchedOn(support::readFile(kPackaging + "/examples/korv-camera.conf")))
            .string();
    const SettingsReading reading = readSettings({path, ""});
    EXPECT_THAT(reading.problems, IsEmpty());
    const auto has = [&](const std::string &section, const std::string &name) {
        return std::any_of(reading.inForce.begin(), reading.inForce.end(), [&](const auto &each) {
            return each.section.compare(0, section.size(), section) == 0
                && each.name.compare(0, name.size(), name) == 0;
        });
    };
    for (const SettingKey &key : settingKeys())
        EXPECT_TRUE(has(key.section, key.name)) << key.name;
    for (const CameraSettingKey &key : cameraSettingKeys())
        EXPECT_TRUE(has("camera ", key.name)) << key.name;
}
