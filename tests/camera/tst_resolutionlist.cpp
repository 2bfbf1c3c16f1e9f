#include "camera/resolutionlist.h"

#include "tests/support/qt_printing.h"

#include <gmock/gmock.h>

namespace {

using List = std::vector<_tag_unit_cam_res_unit>;

const char kExample[] = R"([{"res-no":0,"res-w":2592,"res-h":1944},)"
                        R"({"res-no":1,"res-w":1920,"res-h":1080},)"
                        R"({"res-no":2,"res-w":640,"res-h":480}])";

List previous()
{
    return {{QStringLiteral("before"), 9, 1, 1}};
}

QString described(const List &list)
{
    QString text;
    for (const auto &entry : list)
        text += QStringLiteral("%1=%2:%3x%4;")
                    .arg(entry.name)
                    .arg(entry.res_no)
                    .arg(entry.res_w)
                    .arg(entry.res_h);
    return text;
}

QString parsed(const char *json)
{
    List list = previous();
    return resolutionlist::parse(json, list) ? described(list) : QStringLiteral("refused");
}

} // namespace

TEST(ResolutionList, entriesInTheOrderOfTheText)
{
    EXPECT_EQ(parsed(kExample), "2592*1944=0:2592x1944;1920*1080=1:1920x1080;640*480=2:640x480;");
}

TEST(ResolutionList, refusedTextsLeaveThePreviousList)
{
    for (const char *json : {"", "[", "[]", "{}", "7", "null", "\"text\"", "[{\"res-no\":0}"}) {
        List list = previous();
        EXPECT_FALSE(resolutionlist::parse(json, list)) << json;
        EXPECT_EQ(described(list), "before=9:1x1;") << json;
    }
    List list = previous();
    EXPECT_FALSE(resolutionlist::parse(nullptr, list));
    EXPECT_EQ(described(list), "before=9:1x1;");
}

TEST(ResolutionList, objectOfEntriesIsWalkedToo)
{
    EXPECT_EQ(
        parsed(R"({"a":{"res-no":4,"res-w":3,"res-h":2},"b":{"res-no":5,"res-w":6,"res-h":7}})"),
        "3*2=4:3x2;6*7=5:6x7;");
}

TEST(ResolutionList, missingMembersReadAsZero)
{
    EXPECT_EQ(parsed(R"([{"res-w":640},{},7,null,"text",[1]])"),
              "640*0=0:640x0;0*0=0:0x0;0*0=0:0x0;0*0=0:0x0;0*0=0:0x0;0*0=0:0x0;");
}

TEST(ResolutionList, membersAreReadAsIntegers)
{
    EXPECT_EQ(parsed(R"([{"res-no":-1,"res-w":640.7,"res-h":"480","fps":30}])"), "640*0=-1:640x0;");
    EXPECT_EQ(parsed(R"([{"res-no":1e30,"res-w":-1e30,"res-h":1}])"),
              "-2147483648*1=2147483647:-2147483648x1;");
}

TEST(ResolutionList, longListsAreRead)
{
    QByteArray json("[");
    for (int i = 0; i < 20000; ++i)
        json += "{\"res-no\":" + QByteArray::number(i) + ",\"res-w\":1,\"res-h\":1},";
    json.back() = ']';
    List list;
    ASSERT_TRUE(resolutionlist::parse(json.constData(), list));
    ASSERT_EQ(list.size(), 20000U);
    EXPECT_EQ(list.back().res_no, 19999);
}

TEST(ResolutionList, deepNestingIsRefused)
{
    const std::string json(100000, '[');
    EXPECT_EQ(parsed(json.c_str()), "refused");
}

TEST(ResolutionList, findsByExactName)
{
    List list;
    ASSERT_TRUE(resolutionlist::parse(kExample, list));
    const auto *found = resolutionlist::findByName(list, QStringLiteral("1920*1080"));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->res_no, 1);
    EXPECT_EQ(resolutionlist::findByName(list, QStringLiteral("1600*1200")), nullptr);
    EXPECT_EQ(resolutionlist::findByName(list, QStringLiteral("1920*1080 ")), nullptr);
    EXPECT_EQ(resolutionlist::findByName(list, QString()), nullptr);
    EXPECT_EQ(resolutionlist::findByName({}, QStringLiteral("640*480")), nullptr);
}

TEST(ResolutionList, firstOfTwoEqualSizesIsFound)
{
    List list;
    ASSERT_TRUE(resolutionlist::parse(R"([{"res-no":3,"res-w":640,"res-h":480},)"
                                      R"({"res-no":8,"res-w":640,"res-h":480}])",
                                      list));
    const QString name = QStringLiteral("640*480");
    EXPECT_EQ(resolutionlist::findByName(list, name), &list[0]);
    EXPECT_EQ(resolutionlist::findBySizeAndName(list, 640, 480, name), &list[0]);
}

TEST(ResolutionList, sizeAndNameMustBothAgree)
{
    List list;
    ASSERT_TRUE(resolutionlist::parse(kExample, list));
    const QString name = QStringLiteral("640*480");
    EXPECT_EQ(resolutionlist::findBySizeAndName(list, 640, 480, name), &list[2]);
    EXPECT_EQ(resolutionlist::findBySizeAndName(list, 640, 481, name), nullptr);
    EXPECT_EQ(resolutionlist::findBySizeAndName(list, 641, 480, name), nullptr);
    EXPECT_EQ(resolutionlist::findBySizeAndName(list, 640, 480, QStringLiteral("0640*480")),
              nullptr);
}
