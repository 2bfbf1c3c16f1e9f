#include "library/api/messages.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

using korv::DeviceAction;

namespace {

const korv::IndexedDevice kCamera{2, {"key", "Cam", 4660, 22136}};

} // namespace

TEST(messages, arrivalHasTheFiveMembers)
{
    EXPECT_STREQ(korv::messages::deviceEvent(DeviceAction::Add, kCamera).get(),
                 R"({"action":"add","index":2,"name":"Cam","vid":4660,"pid":22136})");
}

TEST(messages, departureDiffersInItsActionOnly)
{
    EXPECT_STREQ(korv::messages::deviceEvent(DeviceAction::Remove, kCamera).get(),
                 R"({"action":"remove","index":2,"name":"Cam","vid":4660,"pid":22136})");
}

TEST(messages, nameSurvivesQuotesBackslashesAndChinese)
{
    const std::string name = "高拍仪 \"A\\B\"";
    const auto text = korv::messages::deviceEvent(DeviceAction::Add, {0, {"key", name, 0, 0}});
    cJSON *parsed = cJSON_Parse(text.get());
    ASSERT_NE(parsed, nullptr) << text.get();
    EXPECT_EQ(cJSON_GetObjectItem(parsed, "name")->valuestring, name);
    cJSON_Delete(parsed);
}

TEST(messages, listOfNothingIsAnEmptyArray)
{
    EXPECT_STREQ(korv::messages::deviceList({}).get(), "[]");
    EXPECT_STREQ(korv::messages::resolutionList({}).get(), "[]");
}

TEST(messages, listHasOneObjectForEachDevice)
{
    EXPECT_STREQ(korv::messages::deviceList({kCamera, {0, {"other", "B", 0, 1}}}).get(),
                 R"([{"index":2,"name":"Cam","vid":4660,"pid":22136},)"
                 R"({"index":0,"name":"B","vid":0,"pid":1}])");
}

TEST(messages, listTellsNodeAndSerialNumberWhereThereAreAny)
{
    korv::IndexedDevice camera = kCamera;
    camera.identity.node = "/dev/video0";
    EXPECT_STREQ(korv::messages::deviceList({camera}).get(),
                 R"([{"index":2,"name":"Cam","vid":4660,"pid":22136,"node":"/dev/video0"}])");
    camera.identity.serial = "A1";
    EXPECT_STREQ(
        korv::messages::deviceList({camera}).get(),
        R"([{"index":2,"name":"Cam","vid":4660,"pid":22136,"node":"/dev/video0","serial":"A1"}])");
    // the event is what the application parses: it stays as it was
    EXPECT_STREQ(korv::messages::deviceEvent(DeviceAction::Add, camera).get(),
                 R"({"action":"add","index":2,"name":"Cam","vid":4660,"pid":22136})");
}

TEST(messages, resolutionsKeepTheirOrderAndNumbers)
{
    EXPECT_STREQ(korv::messages::resolutionList({{7, 2592, 1944}, {0, 640, 480}}).get(),
                 R"([{"res-no":7,"res-w":2592,"res-h":1944},)"
                 R"({"res-no":0,"res-w":640,"res-h":480}])");
}
