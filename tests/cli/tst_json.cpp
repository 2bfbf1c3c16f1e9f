#include "tests/cli/korvcam_program.h"

#include <cjson/cJSON.h>

namespace {

using support::Finished;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

class KorvcamJson : public support::KorvcamProgram
{
protected:
    /// The keys of an object in their order; none when the line is no object.
    static std::vector<std::string> keysOf(const std::string &line)
    {
        const std::unique_ptr<cJSON, void (*)(cJSON *)> tree(
            cJSON_ParseWithOpts(line.c_str(), nullptr, 1), cJSON_Delete);
        std::vector<std::string> keys;
        const cJSON *member = nullptr;
        if (cJSON_IsObject(tree.get()))
            cJSON_ArrayForEach(member, tree.get()) keys.emplace_back(member->string);
        return keys;
    }

    /// The lines of a command that succeeds, every one of them an object.
    std::vector<std::string> objects(const std::vector<std::string> &arguments) const
    {
        const Finished done = run(arguments);
        EXPECT_EQ(done.status, 0) << done.errors;
        std::vector<std::string> found = lines(done.output);
        for (const std::string &line : found)
            EXPECT_THAT(keysOf(line), testing::Not(IsEmpty())) << line;
        return found;
    }
};

TEST_F(KorvcamJson, camerasAndTheirResolutions)
{
    EXPECT_THAT(objects({"list", "--json"}),
                ElementsAre(MatchesRegex("\\{\"index\":0,\"model\":\"[0-9a-f]{4}:[0-9a-f]{4}\","
                                         "\"name\":\"[^\"]+\",\"node\":\"\",\"serial\":\"\"\\}")));
    const std::vector<std::string> modes = objects({"modes", "--json"});
    EXPECT_EQ(modes.size(), lines(run({"modes"}).output).size());
    EXPECT_THAT(modes,
                testing::Contains("{\"number\":5,\"width\":640,\"height\":480,\"current\":false}"));
    EXPECT_THAT(modes, testing::Contains(HasSubstr("\"current\":true")));
}

TEST_F(KorvcamJson, photographs)
{
    const std::vector<std::string> photographs =
        objects({"snap", "--json", "-r", "640x480", "-n", "2", "--rotate", "left", "-o",
                 file("a \"b\".png")});
    ASSERT_EQ(photographs.size(), 2U);
    EXPECT_THAT(photographs[1],
                MatchesRegex("\\{\"time\":\"[0-9]{4}-[0-9-]{5}T[0-9:]{8}[+-][0-9:]{5}\",\"file\":"
                             "\".+/a .\"b.\"-0002.png\",\"size\":[0-9]{4,},\"width\":480,"
                             "\"height\":640,\"out_of_focus\":false\\}"));
    EXPECT_THAT(
        keysOf(
            objects({"snap", "--json", "--crop", "-r", "1280x720", "-o", file("c.jpg")}).front()),
        ElementsAre("time", "file", "size", "width", "height", "out_of_focus", "sheet_found"));
    EXPECT_EQ(run({"snap", "--json", "-o", "-"}).status, 2);
}

TEST_F(KorvcamJson, eventsAsTheyCome)
{
    std::filesystem::create_directories(folder() / "desk");
    support::Process process(command({"watch", "--json", "-n", "1"}),
                             {{"KORV_CAMERA_DESK", file("desk")}, {"KORV_CAMERA_REAL", "0"}});
    std::filesystem::create_directories(folder() / "desk" / "1b17:0211 My Camera");
    const Finished done = process.wait();
    EXPECT_EQ(done.status, 0) << done.errors;
    ASSERT_EQ(lines(done.output).size(), 1U);
    EXPECT_THAT(lines(done.output)[0],
                MatchesRegex("\\{\"event\":\"add\",\"time\":\"[^\"]+\",\"index\":0,\"model\":"
                             "\"1b17:0211\",\"name\":\"My Camera\"\\}"));
}

TEST_F(KorvcamJson, diagnosisHasNothingButObjects)
{
    const Finished done = run({"doctor", "--json", "--timeout", "100"});
    for (const std::string &line : lines(done.output)) {
        EXPECT_THAT(keysOf(line), testing::Not(IsEmpty())) << line;
        EXPECT_THAT(line, testing::AnyOf(HasSubstr("\"check\":\""), HasSubstr("{\"problem\":\"")));
    }
    EXPECT_THAT(done.output, HasSubstr("\"check\":\"camera\""));
    EXPECT_THAT(done.output, HasSubstr("{\"check\":\"stream\",\"first_picture\":"));
    EXPECT_THAT(done.output, HasSubstr("{\"check\":\"photograph\",\"result\":\"OK\"}"));
    const Finished none = run({"doctor", "--json", "-d", "3"});
    EXPECT_EQ(none.status, 3);
    EXPECT_THAT(none.output, HasSubstr("{\"problem\":\"there is no camera 3;"));
    const Finished library = support::runProgram(command({"doctor", "--json"}, "/nowhere.so"));
    EXPECT_EQ(library.status, 5);
    EXPECT_THAT(library.output, HasSubstr("\"path\":\"/nowhere.so\",\"usable\":false"));
}

} // namespace
