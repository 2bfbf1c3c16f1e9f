#include "camera/deviceevent.h"

#include "tests/support/qt_printing.h"

#include <gmock/gmock.h>

namespace {

QString converted(const char *json)
{
    return deviceevent::fromJson(json).value_or(QStringLiteral("dropped"));
}

} // namespace

TEST(DeviceEvent, fiveFieldsInTheirOrder)
{
    EXPECT_EQ(converted(R"({"index":0,"vid":4660,"pid":22136,"name":"Cam","action":"add"})"),
              QStringLiteral("add,0,Cam,4660,22136"));
}

TEST(DeviceEvent, orderAndCompanyOfKeysDoNotMatter)
{
    EXPECT_EQ(
        converted(R"({"action":"remove","x":[1,{"vid":7}],"pid":2,"name":"C","vid":1,"index":-3})"),
        QStringLiteral("remove,-3,C,1,2"));
}

TEST(DeviceEvent, everyKeyIsNeeded)
{
    EXPECT_EQ(converted(R"({"vid":1,"pid":2,"name":"C","action":"add"})"), "dropped");
    EXPECT_EQ(converted(R"({"index":0,"pid":2,"name":"C","action":"add"})"), "dropped");
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"name":"C","action":"add"})"), "dropped");
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"pid":2,"action":"add"})"), "dropped");
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"pid":2,"name":"C"})"), "dropped");
}

TEST(DeviceEvent, nameAndActionMustBeTexts)
{
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"pid":2,"name":5,"action":"add"})"), "dropped");
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"pid":2,"name":null,"action":"add"})"), "dropped");
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"pid":2,"name":"C","action":{}})"), "dropped");
}

TEST(DeviceEvent, numbersAreReadAsIntegers)
{
    EXPECT_EQ(converted(R"({"index":1.9,"vid":"7","pid":99999999999,"name":"C","action":"add"})"),
              QStringLiteral("add,1,C,0,2147483647"));
}

TEST(DeviceEvent, textsThatAreNoEventAreDropped)
{
    for (const char *json : {"", "{", "[]", "7", "\"add\"", "null", "[1,2,3,4,5]", "{\"index\":0"})
        EXPECT_EQ(converted(json), "dropped") << json;
    EXPECT_EQ(converted(nullptr), "dropped");
}

TEST(DeviceEvent, nameStandsUnchanged)
{
    // not even a place marker in it is touched
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"pid":2,"name":"%4 %1","action":"add"})"),
              QStringLiteral("add,0,%4 %1,1,2"));
    EXPECT_EQ(converted("{\"index\":0,\"vid\":1,\"pid\":2,\"name\":\"棱湾\",\"action\":\"add\"}"),
              QStringLiteral("add,0,棱湾,1,2"));
    EXPECT_EQ(converted(R"({"index":0,"vid":1,"pid":2,"name":"","action":""})"),
              QStringLiteral(",0,,1,2"));
}

TEST(DeviceEvent, fieldsByPosition)
{
    const QString event = QStringLiteral("remove,-3,Cam,4660,22136");
    EXPECT_EQ(deviceevent::action(event), QStringLiteral("remove"));
    EXPECT_EQ(deviceevent::index(event), -3);
    EXPECT_EQ(deviceevent::name(event), QStringLiteral("Cam"));
    EXPECT_EQ(deviceevent::vid(event), 4660);
    EXPECT_EQ(deviceevent::pid(event), 22136);
}

TEST(DeviceEvent, commaInTheNameShiftsTheFieldsBehindIt)
{
    const QString event = QStringLiteral("add,0,A,B,4660,22136");
    EXPECT_EQ(deviceevent::name(event), QStringLiteral("A"));
    EXPECT_EQ(deviceevent::vid(event), 0);
    EXPECT_EQ(deviceevent::pid(event), 4660);
}

TEST(DeviceEvent, fieldsThatAreMissingOrNoNumbersReadAsZero)
{
    const QString event = QStringLiteral("add,x,Cam,12a");
    EXPECT_EQ(deviceevent::index(event), 0);
    EXPECT_EQ(deviceevent::vid(event), 0);
    EXPECT_EQ(deviceevent::pid(event), 0);
    EXPECT_EQ(deviceevent::index(QStringLiteral("add,0x10,C,99999999999,1")), 0);
    EXPECT_EQ(deviceevent::vid(QStringLiteral("add,0,C,99999999999,1")), 0);
    EXPECT_EQ(deviceevent::action(QString()), QString());
    EXPECT_EQ(deviceevent::name(QString()), QString());
}

TEST(DeviceEvent, everyCommaCounts)
{
    EXPECT_EQ(deviceevent::name(QStringLiteral("add,0,,7,8")), QString());
    EXPECT_EQ(deviceevent::vid(QStringLiteral("add,0,,7,8")), 7);
}
