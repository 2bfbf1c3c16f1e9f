#include "library/settings/settings_writer.h"

#include "library/settings/settings_reader.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace korv;

namespace {

class SettingsWriterTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    /// What a file with the text becomes.
    std::string changed(const std::string &text, const std::vector<SettingChange> &changes) const
    {
        const std::string file = m_home.write("file", text).string();
        const Result<void> done = changeSettings(file, changes);
        EXPECT_TRUE(done) << done.error().text;
        return support::readFile(file);
    }

    support::TempHome m_home;
};

constexpr char kText[] = "# mine\n"
                         "[documents]\n"
                         "title = old ; why\n"
                         "\n"
                         "[camera 1B17:0211]\n"
                         "; focus\n"
                         "control.focus = 1\n"
                         "\n"
                         "# the end\n";

} // namespace

TEST_F(SettingsWriterTest, keyKeepsItsPlaceAndItsComment)
{
    std::string expected = kText;
    expected.replace(expected.find("old"), 3, "new one");
    EXPECT_EQ(changed(kText, {{"documents", "title", "new one"}}), expected);
}

TEST_F(SettingsWriterTest, newKeyGoesBehindTheLastOfItsSection)
{
    std::string expected = kText;
    expected.insert(expected.find("\n# the end"), "control.gain = 2\n");
    EXPECT_EQ(changed(kText, {{"camera 1b17:0211", "control.gain", "2"}}), expected);
    EXPECT_EQ(changed("[a]\n[b]\n", {{"a", "x", "1"}}), "[a]\nx = 1\n[b]\n");
}

TEST_F(SettingsWriterTest, newSectionGoesToTheEnd)
{
    EXPECT_EQ(changed(kText, {{"camera 0001:0002", "scale.8x6", "3.5"}}),
              std::string(kText) + "\n[camera 0001:0002]\nscale.8x6 = 3.5\n");
    EXPECT_EQ(changed("", {{"documents", "title", "x"}}), "[documents]\ntitle = x\n");
    EXPECT_EQ(changed("# no line feed", {{"documents", "title", "x"}}),
              "# no line feed\n\n[documents]\ntitle = x\n");
}

TEST_F(SettingsWriterTest, everyLineOfARemovedKeyGoes)
{
    EXPECT_EQ(
        changed("[a]\nx = 1\ny = 2\nx = 3\n[b]\nx = 4\n[a]\nx = 5\n", {{"a", "x", std::nullopt}}),
        "[a]\ny = 2\n[b]\nx = 4\n[a]\n");
    EXPECT_EQ(changed(kText, {{"documents", "page-size", std::nullopt}}), kText);
}

TEST_F(SettingsWriterTest, ofSeveralLinesTheOneThatCountsChanges)
{
    EXPECT_EQ(changed("[a]\nx = 1\nx = 2\n", {{"a", "x", "9"}}), "[a]\nx = 1\nx = 9\n");
}

TEST_F(SettingsWriterTest, manyChangesAreOneReplacement)
{
    EXPECT_EQ(changed("", {{"a", "x", "1"}, {"b", "y", "2"}, {"a", "z", "3"}, {"b", "y", {}}}),
              "[a]\nx = 1\nz = 3\n\n[b]\n");
}

TEST_F(SettingsWriterTest, lineEndsOfDosDoNotMatter)
{
    EXPECT_EQ(changed("[a]\r\nx = 1\r\ny = 2\r\n", {{"a", "x", "9"}}), "[a]\r\nx = 9\r\ny = 2\r\n");
}

TEST_F(SettingsWriterTest, whatWasWrittenIsRead)
{
    const std::string file = path("new/folder/korv-camera.conf");
    ASSERT_TRUE(changeSettings(file,
                               {{"documents", "title", "\xE6\xA1\xA3\xE6\xA1\x88"},
                                {"camera 1b17:0211", "scale.1920x1080", "5.5"}}));
    const SettingsReading reading = readSettings({"", file});
    EXPECT_TRUE(reading.problems.empty());
    EXPECT_EQ(reading.settings.title, "\xE6\xA1\xA3\xE6\xA1\x88");
    EXPECT_EQ(reading.settings.camera(0x1b17, 0x211)->scales.at({1920, 1080}), 5.5);
}

TEST_F(SettingsWriterTest, whatNoLineCanHoldIsRefusedAndNothingChanges)
{
    const std::string file = m_home.write("file", kText).string();
    const std::vector<SettingChange> bad = {
        {"documents", "title", "two\nlines"},
        {"documents", "title", " blank"},
        {"documents", "title", "blank "},
        {"documents", "title", "a ; b"},
        {"documents", "title", std::string(200, 'x')},
        {"documents", "", "x"},
        {"documents", "a=b", "x"},
        {"documents", "#a", "x"},
        {"docu]ments", "a", "x"},
        {std::string(60, 's'), "a", "x"},
        {"documents", std::string(200, 'n'), "x"},
        {"documents", "a\nb", std::nullopt},
    };
    for (const SettingChange &change : bad)
        EXPECT_EQ(changeSettings(file, {{"documents", "title", "good"}, change}).code(), -EINVAL)
            << change.section << "." << change.name << "=" << change.value.value_or("");
    EXPECT_EQ(support::readFile(file), kText);
}

TEST_F(SettingsWriterTest, fileThatIsNoTextStays)
{
    const std::string binary("[a]\n\0", 5);
    const std::string file = m_home.write("binary", binary).string();
    EXPECT_EQ(changeSettings(file, {{"a", "x", "1"}}).code(), -EILSEQ);
    EXPECT_EQ(support::readFile(file), binary);
    EXPECT_EQ(changeSettings(m_home.scratch().string(), {{"a", "x", "1"}}).code(), -EISDIR);
}

TEST_F(SettingsWriterTest, linkStaysALinkAndRightsStay)
{
    const std::string file = m_home.write("file", kText).string();
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    std::filesystem::create_symlink(file, path("link"));
    ASSERT_TRUE(changeSettings(path("link"), {{"documents", "title", "x"}}));
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_THAT(support::readFile(file), testing::HasSubstr("title = x ; why\n"));
    struct stat status = {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}
