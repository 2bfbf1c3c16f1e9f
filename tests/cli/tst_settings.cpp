#include "tests/cli/korvcam_program.h"

#include "tests/library/support/desk.h"
#include "tests/library/support/sample_pictures.h"

#include <fstream>

namespace {

using support::Finished;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class KorvcamSettings : public support::KorvcamProgram
{
protected:
    static constexpr double kScale = 3.6; ///< pixels per millimetre of the drawn desks

    std::string userFile() const { return (m_home.home() / ".config/korv-camera.conf").string(); }

    Environment settings(const std::string &systemFile = "") const
    {
        return {{"XDG_CONFIG_HOME", ""}, {"KORV_CAMERA_CONF", systemFile}};
    }
    /// A desk of its own with a sheet of so many millimetres under its camera.
    Environment deskWith(double width, double height) const
    {
        desk::Scene scene;
        scene.width = 1600;
        scene.height = 1200;
        const double left = 800 - width * kScale / 2;
        const double top = 600 - height * kScale / 2;
        const double right = 800 + width * kScale / 2;
        const double bottom = 600 + height * kScale / 2;
        if (width > 0)
            scene.sheets = {{{{{left, top}, {right, top}, {right, bottom}, {left, bottom}}}}};
        const std::string name = "desk-" + std::to_string(width) + "x" + std::to_string(height);
        const std::filesystem::path camera = folder() / name / "1b17:0211 Cam";
        std::filesystem::create_directories(camera);
        pictures::writeBytes((camera / "page.jpg").string(),
                             pictures::jpegOf(desk::draw(scene), 95));
        Environment environment = settings();
        environment["KORV_CAMERA_DESK"] = (folder() / name).string();
        return environment;
    }
    /// The size in points of a document of the photograph.
    std::string pageOf(const std::string &photograph) const
    {
        const Finished done = run({"convert", "-f", photograph, file("a.pdf")}, settings());
        EXPECT_EQ(done.status, 0) << done.errors;
        const std::string pdf = support::readFile(file("a.pdf"));
        const std::size_t box = pdf.find("/MediaBox [0 0 ") + 15;
        return pdf.substr(box, pdf.find(']', box) - box);
    }
};

} // namespace

TEST_F(KorvcamSettings, configShowsWhatIsInForceAndWhereItComesFrom)
{
    const std::string system =
        m_home.write("system.conf", "[documents]\ntitle = one\npage-size = A4\n").string();
    std::filesystem::create_directories(m_home.home() / ".config");
    std::ofstream(userFile()) << "[camera 1B17:0211]\ncontrol.gain = 7\n"
                                 "[documents]\ntitle = two\n";
    Environment environment = settings(system);
    const Finished shown = run({"config"}, environment);
    EXPECT_EQ(shown.status, 0) << shown.errors;
    const std::string expected = "; " + system + "\n; " + userFile()
        + "\n\n[documents]\ntitle = two ; " + userFile() + ":4\npage-size = A4 ; " + system
        + ":3\n";
    EXPECT_THAT(shown.output, testing::StartsWith(expected));
    EXPECT_THAT(shown.output,
                HasSubstr("\n[camera 1b17:0211]\ncontrol.gain = 7 ; " + userFile() + ":2\n"));
    environment["KORV_CAMERA_PAGE_SIZE"] = "A5";
    EXPECT_THAT(run({"config"}, environment).output,
                HasSubstr("page-size = A5 ; KORV_CAMERA_PAGE_SIZE\n"));
    // what it prints is a settings file
    m_home.write("printed.conf", shown.output);
    EXPECT_EQ(run({"config"}, settings(file("printed.conf"))).status, 0);
}

TEST_F(KorvcamSettings, configNeedsNoFileAndNoLibrary)
{
    const Finished shown =
        support::runProgram(command({"config"}, file("no-library.so")), settings());
    EXPECT_EQ(shown.status, 0) << shown.errors;
    EXPECT_THAT(shown.output, HasSubstr("; " + userFile() + " (not read)\n"));
    EXPECT_THAT(shown.output, HasSubstr("page-size = ; default: by the picture\n"));
    EXPECT_THAT(shown.errors, IsEmpty());
}

TEST_F(KorvcamSettings, configFailsWhereALineIsWrong)
{
    const std::string system =
        m_home.write("system.conf", "[documents]\nsize = A4\ntitle = one\n").string();
    Environment environment = settings(system);
    Finished shown = run({"config"}, environment);
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.errors, "korvcam: " + system + ":2: unknown key size\n");
    environment = settings();
    environment["KORV_CAMERA_PAGE_SIZE"] = "A9";
    shown = run({"config"}, environment);
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.errors, "korvcam: KORV_CAMERA_PAGE_SIZE: no page size: A9\n");
}

TEST_F(KorvcamSettings, libraryReportsWrongLinesAndUsesTheOthers)
{
    const std::string system =
        m_home.write("system.conf", "[documents]\nsize = A4\npage-size = 100x200\n").string();
    Environment environment = settings(system);
    environment["KORV_CAMERA_DESK"] = "builtin";
    const Finished taken = run({"snap", "-r", "640x480", "-o", file("a.jpg")}, environment);
    EXPECT_EQ(taken.status, 0);
    EXPECT_THAT(taken.errors, HasSubstr(system + ":2: unknown key size\n"));
    EXPECT_EQ(run({"convert", file("a.jpg"), file("b.pdf")}, environment).status, 0);
    EXPECT_THAT(support::readFile(file("b.pdf")), HasSubstr("[0 0 566.9291 283.4646]"));
}

TEST_F(KorvcamSettings, calibratedDeskGivesPagesTheirTrueSize)
{
    const Finished measured = run({"calibrate", "-r", "1600x1200"}, deskWith(210, 297));
    ASSERT_EQ(measured.status, 0) << measured.errors;
    EXPECT_THAT(measured.output, HasSubstr("in " + userFile() + "\n"));
    const std::string written = support::readFile(userFile());
    const std::string key = "[camera 1b17:0211]\nscale.1600x1200 = ";
    ASSERT_THAT(written, testing::StartsWith(key));
    EXPECT_NEAR(std::stod(written.substr(key.size())), kScale, 0.02);

    const Environment a5 = deskWith(148, 210);
    EXPECT_EQ(run({"snap", "-r", "1600x1200", "--crop", "-o", file("a5.jpg")}, a5).status, 0);
    EXPECT_EQ(pageOf(file("a5.jpg")), "419.53 595.28");
    EXPECT_EQ(run({"snap", "-r", "1600x1200", "-o", file("whole.jpg")}, a5).status, 0);
    EXPECT_NEAR(std::stod(pageOf(file("whole.jpg"))), 1600 / kScale * 72 / 25.4, 8);
    // of another size of frames nothing is known
    EXPECT_EQ(run({"snap", "-r", "640x480", "-o", file("small.jpg")}, a5).status, 0);
    EXPECT_NEAR(std::stod(pageOf(file("small.jpg"))), 841.9, 8);
}

TEST_F(KorvcamSettings, cardCalibratesToo)
{
    const Finished measured =
        run({"calibrate", "--card", "-r", "1600x1200"}, deskWith(171.2, 107.96));
    ASSERT_EQ(measured.status, 0) << measured.errors;
    const std::string written = support::readFile(userFile());
    EXPECT_NEAR(std::stod(written.substr(written.find("= ") + 2)), 2 * kScale, 0.05);
}

TEST_F(KorvcamSettings, calibrationSaysWhyItFailsAndChangesNothing)
{
    Finished failed = run({"calibrate", "-r", "1600x1200"}, deskWith(0, 0));
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.errors, HasSubstr("no sheet was found; lay an A4 sheet flat"));
    failed = run({"calibrate", "-r", "1600x1200"}, deskWith(215.9, 279.4));
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.errors, HasSubstr("the sheet under the camera is not an A4 sheet: "));
    failed = run({"calibrate", "-r", "1600x1200", "--card"}, deskWith(210, 297));
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.errors, HasSubstr("is not a card: "));
    EXPECT_FALSE(std::filesystem::exists(userFile()));
    EXPECT_EQ(failed.output, "");

    std::filesystem::create_directories(userFile());
    failed = run({"calibrate", "-r", "1600x1200"}, deskWith(210, 297));
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.errors, HasSubstr("cannot save in " + userFile() + ": Is a directory"));
}
