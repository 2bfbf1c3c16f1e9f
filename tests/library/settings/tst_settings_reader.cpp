#include "library/settings/settings_keys.h"
#include "library/settings/settings_reader.h"

#include "tests/support/temp_home.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace korv;
using support::ScopedVariable;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class SettingsReaderTest : public testing::Test
{
protected:
    std::string write(const std::string &name, const std::string &text) const
    {
        return m_home.write(name, text).string();
    }
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    SettingsReading readUser(const std::string &text) const
    {
        return readSettings({"", write("user", text)});
    }

    support::TempHome m_home;
};

} // namespace

TEST_F(SettingsReaderTest, withoutFilesNothingIsSetAndNothingReported)
{
    const SettingsReading reading = readSettings({path("none"), path("no/folder")});
    EXPECT_TRUE(reading.settings.title.empty());
    EXPECT_FALSE(reading.settings.pageSize);
    EXPECT_TRUE(reading.settings.cameras.empty());
    EXPECT_THAT(reading.inForce, IsEmpty());
    EXPECT_THAT(reading.files, IsEmpty());
    EXPECT_THAT(reading.problems, IsEmpty());
    EXPECT_THAT(readSettings({}).problems, IsEmpty());
}

TEST_F(SettingsReaderTest, textIsOffOrInLanguages)
{
    EXPECT_TRUE(readUser("[documents]\ntext = no\n").settings.text.empty());
    EXPECT_TRUE(readUser("[documents]\ntext = eng\ntext =\n").settings.text.empty());
    const SettingsReading bad = readUser("[documents]\ntext = ../eng\ntext-wait = 3601\n"
                                         "text-wait = -1\ntext-wait = soon\n");
    EXPECT_TRUE(bad.settings.text.empty());
    EXPECT_EQ(bad.settings.textWait, 20);
    EXPECT_THAT(bad.problems,
                ElementsAre(HasSubstr(":2: text: no languages such as chi_sim+eng: ../eng"),
                            HasSubstr(":3: text-wait: more than an hour: 3601"),
                            HasSubstr(":4: text-wait: no positive number: -1"),
                            HasSubstr(":5: text-wait: no positive number: soon")));
}

TEST_F(SettingsReaderTest, everyKeyReachesItsMember)
{
    const SettingsReading reading = readUser("[documents]\n"
                                             "title = Files of the office\n"
                                             "page-size = a4\n"
                                             "text = chi_sim+eng\n"
                                             "text-wait = 2.5\n"
                                             "upright = yes\n"
                                             "compact = yes\n"
                                             "[camera 1B17:0211]\n"
                                             "control.brightness = 12\n"
                                             "control.power_line_frequency = 50 Hz\n"
                                             "scale.1920x1080 = 5.125\n");
    EXPECT_THAT(reading.problems, IsEmpty());
    EXPECT_EQ(reading.settings.title, "Files of the office");
    EXPECT_EQ(reading.settings.text.names, "chi_sim+eng");
    EXPECT_EQ(reading.settings.textWait, 2.5);
    ASSERT_TRUE(reading.settings.pageSize);
    EXPECT_EQ(reading.settings.pageSize->height, 297);
    EXPECT_EQ(reading.settings.upright, true);
    EXPECT_TRUE(reading.settings.compact);
    const CameraSettings *camera = reading.settings.camera(0x1b17, 0x0211);
    ASSERT_NE(camera, nullptr);
    EXPECT_THAT(camera->controls,
                ElementsAre(testing::Pair("brightness", "12"),
                            testing::Pair("power_line_frequency", "50 Hz")));
    EXPECT_THAT(camera->scales, ElementsAre(testing::Pair(std::pair(1920, 1080), 5.125)));
    EXPECT_EQ(reading.settings.camera(0x1b17, 0x0212), nullptr);
    EXPECT_EQ(reading.inForce.back().section, "camera 1b17:0211");
    EXPECT_EQ(reading.inForce.size(), 9U);
}

TEST_F(SettingsReaderTest, uprightPagesAreWantedRefusedOrLeftOpen)
{
    EXPECT_EQ(readUser("[documents]\nupright = no\n").settings.upright, false);
    EXPECT_EQ(readUser("[documents]\n").settings.upright, std::nullopt);
    EXPECT_EQ(readUser("[documents]\nupright = yes\nupright =\n").settings.upright, std::nullopt);
    const SettingsReading bad = readUser("[documents]\nupright = often\n");
    EXPECT_EQ(bad.settings.upright, std::nullopt);
    EXPECT_THAT(bad.problems, ElementsAre(HasSubstr(":2: upright: neither yes nor no: often")));
}

TEST_F(SettingsReaderTest, usersFileGoesBeforeTheSystemsAndTheLaterLineBeforeTheEarlier)
{
    const std::string system = write("system",
                                     "[documents]\ntitle = one\npage-size = A5\n"
                                     "[camera 0001:0002]\ncontrol.gain = 1\n");
    const std::string user = write("user",
                                   "[camera 0001:0002]\ncontrol.focus = 2\n"
                                   "[documents]\ntitle = two\ntitle = three\n");
    const SettingsReading reading = readSettings({system, user});
    EXPECT_EQ(reading.settings.title, "three");
    EXPECT_EQ(reading.settings.pageSize->width, 148);
    EXPECT_EQ(reading.settings.camera(1, 2)->controls.size(), 2U);
    EXPECT_THAT(reading.files, ElementsAre(system, user));
    ASSERT_EQ(reading.inForce.size(), 4U);
    EXPECT_EQ(reading.inForce[0].file, user);
    EXPECT_EQ(reading.inForce[0].line, 5);
    EXPECT_EQ(reading.inForce[0].value, "three");
    EXPECT_EQ(reading.inForce[1].file, system);
    EXPECT_EQ(reading.inForce[1].line, 3);
}

TEST_F(SettingsReaderTest, emptyValuePutsTheStandardBack)
{
    const std::string system = write("system",
                                     "[documents]\ntitle = one\npage-size = A5\n"
                                     "[camera 0001:0002]\ncontrol.gain = 1\nscale.8x6 = 3\n");
    const SettingsReading reading =
        readSettings({system,
                      write("user",
                            "[documents]\ntitle =\npage-size =\n"
                            "[camera 0001:0002]\ncontrol.gain =\nscale.8x6 =\n")});
    EXPECT_THAT(reading.problems, IsEmpty());
    EXPECT_TRUE(reading.settings.title.empty());
    EXPECT_FALSE(reading.settings.pageSize);
    EXPECT_TRUE(reading.settings.camera(1, 2)->controls.empty());
    EXPECT_TRUE(reading.settings.camera(1, 2)->scales.empty());
}

TEST_F(SettingsReaderTest, whatIsWrongIsReportedWithItsLineAndOtherwiseIgnored)
{
    const SettingsReading reading = readUser("title = x\n"
                                             "[documents]\n"
                                             "page-size = A9\n"
                                             "pagesize = A4\n"
                                             "what is this\n"
                                             "title = kept\n"
                                             "[photograph]\n"
                                             "clean = yes\n"
                                             "[camera 1b17]\n"
                                             "control.gain = 1\n"
                                             "[camera 1b17:0211]\n"
                                             "control. = 1\n"
                                             "scale.12 = 1\n"
                                             "scale.12x0 = 1\n"
                                             "scale.1x1 = -3\n"
                                             "scale.1x1 = 1e3\n"
                                             "scale.1x1 = 0.01\n"
                                             "scale.1x1 = 99999999999\n"
                                             "gain = 1\n");
    const std::string file = path("user");
    EXPECT_THAT(reading.problems,
                ElementsAre(file + ":1: title stands before the first section",
                            file + ":3: page-size: no page size: A9",
                            file + ":4: unknown key pagesize",
                            file + ":5: neither a section nor NAME = VALUE",
                            file + ":8: unknown section [photograph]",
                            file + ":10: unknown section [camera 1b17]",
                            file + ":12: control.: a control needs a name",
                            file + ":13: scale.12: no size in pixels: 12",
                            file + ":14: scale.12x0: no size in pixels: 12x0",
                            file + ":15: scale.1x1: no positive number: -3",
                            file + ":16: scale.1x1: no positive number: 1e3",
                            file + ":17: scale.1x1: no scale from 0.1 to 1000: 0.01",
                            file + ":18: scale.1x1: no scale from 0.1 to 1000: 99999999999",
                            file + ":19: unknown key gain"));
    EXPECT_EQ(reading.settings.title, "kept");
    EXPECT_FALSE(reading.settings.pageSize);
    EXPECT_TRUE(reading.settings.cameras.empty());
    EXPECT_EQ(reading.inForce.size(), 1U);
}

TEST_F(SettingsReaderTest, valueThatIsRefusedLeavesTheEarlierOneInForce)
{
    const SettingsReading reading = readUser("[documents]\npage-size = A5\npage-size = A9\n"
                                             "[camera 0001:0002]\nscale.8x6 = 3\nscale.8x6 = x\n");
    EXPECT_EQ(reading.settings.pageSize->width, 148);
    EXPECT_EQ(reading.settings.camera(1, 2)->scales.at({8, 6}), 3);
    EXPECT_EQ(reading.problems.size(), 2U);
}

TEST_F(SettingsReaderTest, reportsOfOneFileAreLimited)
{
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "wrong\n";
    const SettingsReading reading = readUser(text);
    ASSERT_EQ(reading.problems.size(), 21U);
    EXPECT_THAT(reading.problems.back(), HasSubstr("980 more lines are wrong"));
}

TEST_F(SettingsReaderTest, whatIsNoTextFileIsLeftOutAndReported)
{
    const std::string good = write("good", "[documents]\ntitle = good\n");
    const std::string fifo = path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_directory(path("folder"));
    std::filesystem::create_symlink(path("loop"), path("loop"));
    const std::string huge = write("huge", "[documents]\ntitle = x\n" + std::string(70'000, '#'));
    const std::string binary = write("binary", std::string("[documents]\ntitle = x\n\0\x7F", 24));
    for (const std::string &bad :
         {fifo, path("folder"), path("loop"), huge, binary, std::string("/dev/zero")}) {
        const SettingsReading reading = readSettings({good, bad});
        ASSERT_EQ(reading.problems.size(), 1U) << bad;
        EXPECT_THAT(reading.problems[0], HasSubstr("settings not read: ")) << bad;
        EXPECT_THAT(reading.problems[0], HasSubstr(bad));
        EXPECT_EQ(reading.settings.title, "good") << bad;
        EXPECT_THAT(reading.files, ElementsAre(good));
    }
}

TEST_F(SettingsReaderTest, largestFileIsRead)
{
    std::string text = "[documents]\ntitle = x\n";
    text.resize(64 * 1024, '\n');
    EXPECT_EQ(readUser(text).settings.title, "x");
    EXPECT_TRUE(readUser(text + "\n").settings.title.empty());
}

TEST_F(SettingsReaderTest, fileThatMayNotBeReadIsReported)
{
    const std::string file = write("secret", "[documents]\ntitle = x\n");
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    if (::access(file.c_str(), R_OK) == 0)
        GTEST_SKIP() << "this user may read everything";
    EXPECT_THAT(readSettings({"", file}).problems,
                ElementsAre(HasSubstr(file + ": Permission denied")));
}

TEST_F(SettingsReaderTest, symbolicLinksAreFollowed)
{
    std::filesystem::create_symlink(write("file", "[documents]\ntitle = x\n"), path("link"));
    EXPECT_EQ(readSettings({"", path("link")}).settings.title, "x");
}

TEST_F(SettingsReaderTest, pathsComeFromTheEnvironment)
{
    const ScopedVariable home("HOME", "/home/somebody");
    const ScopedVariable configuration("XDG_CONFIG_HOME", std::nullopt);
    const ScopedVariable named("KORV_CAMERA_CONF", std::nullopt);
    EXPECT_EQ(settingsPaths().system, "/etc/korv-camera.conf");
    EXPECT_EQ(settingsPaths().user, "/home/somebody/.config/korv-camera.conf");
    {
        const ScopedVariable other("XDG_CONFIG_HOME", "/elsewhere");
        EXPECT_EQ(settingsPaths().user, "/elsewhere/korv-camera.conf");
    }
    for (const char *notAbsolute : {"", "relative"}) {
        const ScopedVariable other("XDG_CONFIG_HOME", notAbsolute);
        EXPECT_EQ(settingsPaths().user, "/home/somebody/.config/korv-camera.conf");
        const ScopedVariable nowhere("HOME", notAbsolute);
        EXPECT_EQ(settingsPaths().user, "");
    }
    {
        const ScopedVariable other("KORV_CAMERA_CONF", "/a/file");
        EXPECT_EQ(settingsPaths().system, "/a/file");
    }
    const ScopedVariable none("KORV_CAMERA_CONF", "");
    EXPECT_EQ(settingsPaths().system, "");
}

TEST(SettingKeys, areDescribedAndDifferent)
{
    std::vector<std::string> names;
    for (const SettingKey &key : settingKeys()) {
        names.push_back(std::string(key.section) + "." + key.name);
        EXPECT_STRNE(key.meaning, "") << names.back();
        EXPECT_STRNE(key.standard, "") << names.back();
    }
    for (const CameraSettingKey &key : cameraSettingKeys())
        EXPECT_STRNE(key.meaning, "") << key.name;
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}
