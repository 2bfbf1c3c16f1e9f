#include "library/include/korv_camera.h"

#include "library/jpeg/jpeg.h"
#include "tests/library/support/desk.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// Puts dots where a text of the pattern's shape stands: '#' is a digit, 'x' one in hexadecimal.
void blank(std::string &text, const std::string &pattern)
{
    const auto fits = [&](std::size_t at) {
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            const auto character = static_cast<unsigned char>(text[at + i]);
            const bool same = pattern[i] == '#' ? std::isdigit(character) != 0
                : pattern[i] == 'x'             ? std::isxdigit(character) != 0
                                                : text[at + i] == pattern[i];
            if (!same)
                return false;
        }
        return true;
    };
    for (std::size_t at = 0; at + pattern.size() <= text.size(); ++at) {
        if (fits(at))
            text.replace(at, pattern.size(), pattern.size(), '.');
    }
}

/// FNV-1a of 64 bits, in hexadecimal.
std::string digestOf(const std::string &text)
{
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char byte : text)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    char digits[24];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

/// A JPEG without its JFIF and EXIF heads, which state date and resolution.
std::string withoutHeads(const std::string &jpeg)
{
    const auto byteAt = [&](std::size_t at) {
        return std::size_t{static_cast<unsigned char>(jpeg[at])};
    };
    std::string kept = jpeg.substr(0, 2);
    std::size_t at = 2;
    while (at + 4 < jpeg.size() && (byteAt(at + 1) == 0xE0 || byteAt(at + 1) == 0xE1))
        at += 2 + byteAt(at + 2) * 256 + byteAt(at + 3);
    return kept + jpeg.substr(at);
}

/// The built library's files from fixed inputs, without settings; dates and random numbers do not
/// count. Every output of it that has other bytes than before is a change that users notice, and
/// has to be meant: then its line in digests.txt changes with it.
class Digests : public testing::Test
{
protected:
    Digests()
    {
        load("Init", m_init);
        load("UnInit", m_uninit);
        load("SetImageColorStyle", m_setColour);
        load("SetImageJPGQuality", m_setQuality);
        load("SetAutoCrop", m_setCrop);
        load("SetImageRotateMode", m_setRotation);
        load("SaveVideoData", m_savePhotograph);
        load("SaveRGB888Image", m_saveRgb);
        load("ConvertImagetoImage", m_convert);
        load("AddImageFiletoMultiFile", m_add);
        load("CombineMultiFile", m_combine);
        std::ifstream lines(KORV_DIGESTS);
        for (std::string line; std::getline(lines, line);)
            m_expected += line + "\n";
        ::tzset();
    }
    ~Digests() override
    {
        m_uninit();
        ::dlclose(m_library);
    }

    template <typename Function> void load(const std::string &name, Function &function)
    {
        function = reinterpret_cast<Function>(::dlsym(m_library, ("KorvCamera_" + name).c_str()));
        ASSERT_NE(function, nullptr) << name;
    }

    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }

    void note(const std::string &name, const std::string &content)
    {
        m_found += name + " " + digestOf(content) + "\n";
    }
    void noteFile(const std::string &name)
    {
        std::string content = support::readFile(path(name));
        ASSERT_FALSE(content.empty()) << name;
        if (name.find(".ofd") != std::string::npos) {
            content = runProgram({"unzip", "-Z1", path(name)}).output
                + runProgram({"unzip", "-p", path(name)}).output;
            blank(content, "<ofd:DocID>xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx<");
            blank(content, "####-##-##");
        }
        if (name.find(".pdf") != std::string::npos) {
            blank(content, "D:##############");
            blank(content, "####-##-##T##:##:##");
            blank(content, "<xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx>");
            blank(content, "uuid:xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx");
        }
        blank(content, "####:##:## ##:##:##");
        note(name, content);
    }
    void take(const korv::Bytes &frame, int width, int height, const std::string &name)
    {
        korv::Bytes room = frame;
        room.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
        ASSERT_EQ(m_savePhotograph(room.data(), width, height, 0, path(name).c_str()), 0) << name;
    }

    support::TempHome m_home;
    support::ScopedVariable m_zone{"TZ", "UTC"};
    support::ScopedVariable m_noFile{"KORV_CAMERA_CONF", ""};
    support::ScopedVariable m_noUserFile{"XDG_CONFIG_HOME", m_home.scratch().string()};
    support::ScopedVariable m_noCamera{"KORV_CAMERA_REAL", "0"};
    void *m_library = ::dlopen(KORV_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
    std::string m_expected;
    std::string m_found;

    decltype(&KorvCamera_Init) m_init = nullptr;
    decltype(&KorvCamera_UnInit) m_uninit = nullptr;
    decltype(&KorvCamera_SetImageColorStyle) m_setColour = nullptr;
    decltype(&KorvCamera_SetImageJPGQuality) m_setQuality = nullptr;
    decltype(&KorvCamera_SetAutoCrop) m_setCrop = nullptr;
    decltype(&KorvCamera_SetImageRotateMode) m_setRotation = nullptr;
    decltype(&KorvCamera_SaveVideoData) m_savePhotograph = nullptr;
    decltype(&KorvCamera_SaveRGB888Image) m_saveRgb = nullptr;
    decltype(&KorvCamera_ConvertImagetoImage) m_convert = nullptr;
    decltype(&KorvCamera_AddImageFiletoMultiFile) m_add = nullptr;
    decltype(&KorvCamera_CombineMultiFile) m_combine = nullptr;
};

korv::Image deskWithSheet()
{
    desk::Scene scene;
    scene.sheets = {{{{{240, 130}, {760, 110}, {790, 840}, {220, 830}}}}};
    scene.lightFall = 0.2;
    return desk::draw(scene);
}

} // namespace

TEST_F(Digests, outputIsWhatItWasWhereNothingIsSet)
{
    ASSERT_EQ(m_init(), 0);
    const korv::Image desk = deskWithSheet();
    const korv::Bytes frame = pictures::jpegOf(desk, 92);
    const korv::Bytes video = pictures::videoFrame(pictures::page(640, 480));
    const std::string colours[] = {"colour", "gray", "lineart"};
    for (int colour = 0; colour < 3; ++colour) {
        ASSERT_EQ(m_setColour(colour), 0);
        const std::string &name = colours[colour];
        for (const int quality : {95, 60}) {
            ASSERT_EQ(m_setQuality(quality), 0);
            for (const int rotation : {0, 1}) {
                ASSERT_EQ(m_setRotation(rotation), 0);
                const std::string whole = name + "-" + std::to_string(quality) + "-turned-"
                    + std::to_string(rotation) + ".jpg";
                take(frame, desk.width(), desk.height(), whole);
                noteFile(whole);
                take(video, 640, 480, "video-" + whole);
                noteFile("video-" + whole);
            }
        }
        ASSERT_EQ(m_setQuality(95), 0);
        ASSERT_EQ(m_setRotation(0), 0);
        ASSERT_EQ(m_setCrop(0), 0);
        take(frame, desk.width(), desk.height(), name + "-cropped.jpg");
        const korv::Bytes cropped = pictures::readBytes(path(name + "-cropped.jpg"));
        const int enlargement = name == "lineart" ? 2 : 1;
        ASSERT_LT(korv::jpeg::readInfo(cropped).value().width, 700 * enlargement)
            << "no sheet was found";
        note(name + "-cropped.jpg but its heads",
             withoutHeads(support::readFile(path(name + "-cropped.jpg"))));
        ASSERT_EQ(m_setCrop(-1), 0);
    }
    const korv::Image rgb = pictures::page(320, 240);
    for (const std::string type : {"jpg", "png", "bmp", "tif", "pdf", "ofd"}) {
        const std::string made = "rgb." + type;
        std::vector<char> pixels(rgb.pixels(), rgb.pixels() + rgb.stride() * 240);
        ASSERT_EQ(m_saveRgb(pixels.data(), 320, 240, 0, path(made).c_str()), 0);
        noteFile(made);
        for (const std::string &source :
             {colours[0] + "-95-turned-1", colours[2] + "-95-turned-0"}) {
            const std::string converted = "converted-" + source + "." + type;
            ASSERT_EQ(m_convert(path(source + ".jpg").c_str(), path(converted).c_str()), 0);
            noteFile(converted);
        }
    }
    for (const std::string size : {"", "A4"}) {
        const support::ScopedVariable pageSize("KORV_CAMERA_PAGE_SIZE", size);
        for (const std::string type : {"tif", "pdf", "ofd"}) {
            for (const std::string page : {"colour-95-turned-0.jpg", "video-gray-60-turned-1.jpg",
                                           "lineart-95-turned-0.jpg", "rgb.png", "rgb.tif"})
                ASSERT_EQ(m_add(path(page).c_str()), 0);
            const std::string combined = "combined" + size + "." + type;
            ASSERT_EQ(m_combine(path(combined).c_str()), 0);
            noteFile(combined);
        }
    }
    EXPECT_EQ(m_found, m_expected);
}
