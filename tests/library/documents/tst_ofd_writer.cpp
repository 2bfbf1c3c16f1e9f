#include "library/documents/ofd/ofd_writer.h"

#include "library/documents/pixel_coders.h"
#include "library/export/page_maker.h"
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

class OfdWriterTest : public testing::Test
{
protected:
    void write(const std::vector<Image> &pictures, const std::string &title = {})
    {
        MemorySink sink;
        DocumentOptions options;
        options.title = title;
        options.created = 1'700'000'000;
        OfdWriter writer(sink, options);
        PageMaker maker({95, false, codePixelsAsPng, {}, nullptr});
        for (const Image &picture : pictures) {
            const Result<Page> page = maker.fromImage(picture);
            ASSERT_TRUE(page);
            ASSERT_TRUE(writer.addPage(page.value()));
        }
        ASSERT_TRUE(writer.finish());
        pictures::writeBytes(m_path, sink.bytes());
    }
    std::string entry(const std::string &name) const
    {
        const ProgramResult result = runProgram({"unzip", "-p", m_path, name});
        EXPECT_EQ(result.status, 0) << name << result.errors;
        return result.output;
    }
    std::set<std::string> names() const
    {
        std::istringstream lines(runProgram({"zipinfo", "-1", m_path}).output);
        std::set<std::string> result;
        for (std::string line; std::getline(lines, line);)
            result.insert(line);
        return result;
    }

    support::TempHome m_home;
    std::string m_path = (m_home.scratch() / "a.ofd").string();
};

std::vector<unsigned> idsIn(const std::string &xml)
{
    std::vector<unsigned> ids;
    for (const support::Match &attribute : support::matchesOf(xml, " ID=\"([0-9]+)\""))
        ids.push_back(static_cast<unsigned>(std::stoul(attribute[1])));
    return ids;
}

} // namespace

TEST_F(OfdWriterTest, packageHoldsExactlyItsFilesAndTheyAreWhole)
{
    write({pictures::page(320, 240), pictures::lineart(300, 200)});
    EXPECT_EQ(runProgram({"unzip", "-tqq", m_path}).status, 0);
    EXPECT_EQ(names(),
              (std::set<std::string>{"OFD.xml", "Doc_0/Document.xml", "Doc_0/PublicRes.xml",
                                     "Doc_0/DocumentRes.xml", "Doc_0/Res/image_0.jpg",
                                     "Doc_0/Res/image_1.png", "Doc_0/Pages/Page_0/Content.xml",
                                     "Doc_0/Pages/Page_1/Content.xml"}));
    EXPECT_THAT(runProgram({"zipinfo", "-v", m_path}).output,
                testing::Not(testing::ContainsRegex("extended local header: +yes")));
}

TEST_F(OfdWriterTest, everyXmlFileKeepsToTheSchema)
{
    write({pictures::page(320, 240), pictures::lineart(200, 300)}, "a<b>&\"c\xFF");
    int checked = 0;
    for (const std::string &name : names()) {
        if (name.substr(name.size() - 4) != ".xml")
            continue;
        const std::string file = m_home.write("part.xml", entry(name)).string();
        const ProgramResult lint =
            runProgram({"xmllint", "--noout", "--schema", KORV_OFD_SCHEMA, file});
        EXPECT_EQ(lint.status, 0) << name << lint.errors;
        ++checked;
    }
    EXPECT_EQ(checked, 4 + 2);
}

TEST_F(OfdWriterTest, schemaSeesWhatIsWrong)
{
    write({pictures::page(32, 24)});
    std::string text = entry("Doc_0/Document.xml");
    text.replace(text.find("MaxUnitID"), 9, "MaxUnitId");
    const std::string file = m_home.write("part.xml", text).string();
    EXPECT_NE(runProgram({"xmllint", "--noout", "--schema", KORV_OFD_SCHEMA, file}).status, 0);
}

TEST_F(OfdWriterTest, everyXmlFileIsWellFormed)
{
    write({pictures::page(320, 240)}, "a<b>&\"c\xFF");
    for (const std::string &name : names()) {
        if (name.substr(name.size() - 4) != ".xml")
            continue;
        const std::string text = entry(name);
        EXPECT_EQ(text.substr(0, 5), "<?xml") << name;
        EXPECT_THAT(text, HasSubstr("xmlns:ofd=\"http://www.ofdspec.org/2016\"")) << name;
        const std::string file = m_home.write("part.xml", text).string();
        const ProgramResult lint = runProgram({"xmllint", "--noout", file});
        EXPECT_EQ(lint.status, 0) << name << lint.errors;
        EXPECT_TRUE(lint.errors.empty()) << lint.errors;
    }
    EXPECT_THAT(entry("OFD.xml"), HasSubstr("a&lt;b&gt;&amp;"));
}

TEST_F(OfdWriterTest, picturesAreStoredAsTheyAre)
{
    const Image page = pictures::page(320, 240);
    write({page});
    const std::string stored = entry("Doc_0/Res/image_0.jpg");
    EXPECT_EQ(Bytes(stored.begin(), stored.end()), pictures::jpegOf(page));
    EXPECT_THAT(runProgram({"zipinfo", m_path}).output,
                testing::ContainsRegex("stor [^\n]*image_0.jpg"));
}

TEST_F(OfdWriterTest, idsAreUniqueAndBelowTheStatedMaximum)
{
    write({pictures::page(32, 24), pictures::lineart(30, 20), pictures::page(32, 24)});
    std::set<unsigned> all;
    std::size_t count = 0;
    for (const std::string &name : names()) {
        if (name.substr(name.size() - 4) != ".xml")
            continue;
        for (const unsigned id : idsIn(entry(name))) {
            all.insert(id);
            ++count;
        }
    }
    EXPECT_EQ(count, 13U); // four a page and the colour space
    EXPECT_EQ(all.size(), count);
    EXPECT_GT(*all.begin(), 0U);
    EXPECT_THAT(entry("Doc_0/Document.xml"),
                HasSubstr("<ofd:MaxUnitID>" + std::to_string(*all.rbegin()) + "<"));
}

TEST_F(OfdWriterTest, pagesAreInMillimetresAndThePictureFillsThem)
{
    Image page = pictures::page(300, 150);
    page.setResolution(300);
    write({page});
    const std::string content = entry("Doc_0/Pages/Page_0/Content.xml");
    EXPECT_THAT(content, HasSubstr("<ofd:PhysicalBox>0 0 25.4 12.7</ofd:PhysicalBox>"));
    EXPECT_THAT(content, HasSubstr("Boundary=\"0 0 25.4 12.7\""));
    EXPECT_THAT(content, HasSubstr("CTM=\"25.4 0 0 12.7 0 0\""));
    const std::string list = entry("Doc_0/DocumentRes.xml");
    EXPECT_THAT(list, HasSubstr("Format=\"JPEG\""));
    EXPECT_THAT(entry("OFD.xml"),
                testing::ContainsRegex("<ofd:CreationDate>[0-9]{4}-[0-9]{2}-[0-9]{2}<"));
}
