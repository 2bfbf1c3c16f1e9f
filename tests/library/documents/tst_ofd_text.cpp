#include "library/documents/ofd/ofd_writer.h"

#include "library/files/memory_sink.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/patterns.h"
#include "tests/support/temp_home.h"

#include <gmock/gmock.h>
#include <set>
#include <sstream>

using namespace korv;
using testing::HasSubstr;

namespace {

constexpr int kOfdWidth = 400;
constexpr int kOfdHeight = 300;
constexpr double kOfdDpi = 254; ///< ten pixels are a millimetre

PageText ofdText()
{
    return {kOfdWidth,
            kOfdHeight,
            {{20, 30, {{"The", 40, 60, false}, {"<fox>", 120, 90, true}}},
             {80, 40, {{"会", 50, 40, false}, {"议", 90, 40, false}, {"录", 130, 40, false}}}}};
}

class OfdTextTest : public testing::Test
{
protected:
    void write(const PageText *text, std::optional<SheetSize> sheet = {})
    {
        Image picture = pictures::page(kOfdWidth, kOfdHeight);
        picture.setResolution(kOfdDpi);
        const Bytes jpeg = pictures::jpegOf(picture);
        Page page;
        page.jpeg = jpeg;
        page.info = jpeg::readInfo(jpeg).value();
        page.width = kOfdWidth;
        page.height = kOfdHeight;
        page.resolution = kOfdDpi;
        page.sheet = sheet;
        page.text = text;
        MemorySink sink;
        OfdWriter writer(sink, {"title", "zh-Hans", 1'700'000'000, 0});
        for (int i = 0; i < 2; ++i)
            ASSERT_TRUE(writer.addPage(page));
        ASSERT_TRUE(writer.finish());
        pictures::writeBytes(m_path, sink.bytes());
    }
    std::string entry(const std::string &name) const
    {
        const ProgramResult result = runProgram({"unzip", "-p", m_path, name});
        EXPECT_EQ(result.status, 0) << name << result.errors;
        return result.output;
    }
    std::string select(const std::string &name, const std::string &expression) const
    {
        const std::string file = m_home.write("part.xml", entry(name)).string();
        std::string found = runProgram({"xmllint", "--xpath", expression, file}).output;
        if (!found.empty() && found.back() == '\n')
            found.pop_back();
        return found;
    }
    /// Of a text object of the first page, from 1.
    std::string attribute(int object, const std::string &name) const
    {
        const std::string code = "(//*[local-name()='TextObject'])[" + std::to_string(object) + "]";
        return select("Doc_0/Pages/Page_0/Content.xml",
                      "string(" + code
                          + (name == "X" || name == "Y" || name == "DeltaX" ? "/*" : "") + "/@"
                          + name + ")");
    }

    support::TempHome m_home;
    std::string m_path = (m_home.scratch() / "a.ofd").string();
};

} // namespace

TEST_F(OfdTextTest, everyLineIsAnObjectUnderThePicture)
{
    const PageText text = ofdText();
    write(&text);
    const std::string page = entry("Doc_0/Pages/Page_1/Content.xml");
    EXPECT_THAT(page, HasSubstr(">The &lt;fox&gt;</ofd:TextCode>"));
    EXPECT_THAT(page, HasSubstr(">会议录</ofd:TextCode>"));
    EXPECT_LT(page.rfind("<ofd:TextObject"), page.find("<ofd:ImageObject"));
    EXPECT_EQ(select("Doc_0/PublicRes.xml", "string(//*[local-name()='Font']/@ID)"),
              attribute(1, "Font"));
}

TEST_F(OfdTextTest, charactersAreWhereThePictureShowsThem)
{
    const PageText text = ofdText();
    write(&text);
    EXPECT_EQ(attribute(1, "Boundary"), "4 2 17 3");
    EXPECT_EQ(attribute(1, "Size"), "3");
    EXPECT_EQ(attribute(1, "Y"), "2.4");
    // three of "The", the space between, five of "<fox>"
    EXPECT_EQ(attribute(1, "DeltaX"), "2 2 2 2 1.8 1.8 1.8 1.8");
    EXPECT_EQ(attribute(2, "Boundary"), "5 8 12 4");
    EXPECT_EQ(attribute(2, "DeltaX"), "4 4");
}

TEST_F(OfdTextTest, onASheetTextLiesWithThePicture)
{
    const PageText text = ofdText();
    write(&text, SheetSize{60, 50});
    EXPECT_EQ(attribute(1, "Boundary"), "14 12 17 3");
}

TEST_F(OfdTextTest, filesKeepToTheSchemaAndNumbersAreTheirOwn)
{
    const PageText text = ofdText();
    write(&text);
    std::set<std::string> ids;
    std::size_t count = 0;
    for (const char *name :
         {"OFD.xml", "Doc_0/Document.xml", "Doc_0/PublicRes.xml", "Doc_0/DocumentRes.xml",
          "Doc_0/Pages/Page_0/Content.xml", "Doc_0/Pages/Page_1/Content.xml"}) {
        const std::string xml = entry(name);
        const std::string file = m_home.write("part.xml", xml).string();
        const ProgramResult lint =
            runProgram({"xmllint", "--noout", "--schema", KORV_OFD_SCHEMA, file});
        EXPECT_EQ(lint.status, 0) << name << lint.errors;
        if (std::string(name) == "Doc_0/Document.xml")
            continue; // names pages by their numbers
        for (const support::Match &id : support::matchesOf(xml, " ID=\"([0-9]+)\"")) {
            ids.insert(id[1]);
            ++count;
        }
    }
    EXPECT_EQ(ids.size(), count);
}

TEST_F(OfdTextTest, pagesWithoutWordsAreAsBefore)
{
    const std::vector<std::string> names = {"Doc_0/Document.xml", "Doc_0/PublicRes.xml",
                                            "Doc_0/Pages/Page_0/Content.xml"};
    std::vector<std::string> before;
    write(nullptr);
    for (const std::string &name : names)
        before.push_back(entry(name));
    const PageText empty{kOfdWidth, kOfdHeight, {}};
    write(&empty);
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(entry(names[i]), before[i]);
}
