#include "camera/cameralist.h"

#include "tests/support/qt_printing.h"
#include "tests/support/stdout_capture.h"

#include <cstring>
#include <gmock/gmock.h>

namespace {

using namespace cameralist;
using Records = std::vector<_tag_unit_camera>;

QString event(int index = 0, const char *name = "Cam", int vid = 4660, int pid = 22136)
{
    return QStringLiteral("add,%1,%2,%3,%4")
        .arg(QString::number(index), QString::fromUtf8(name), QString::number(vid),
             QString::number(pid));
}

_tag_unit_camera offline(const QString &of)
{
    _tag_unit_camera record = recordFromEvent(of);
    record.connect = 0;
    return record;
}

} // namespace

TEST(CameraList, recordOfAnEventIsPresentAndUnnamed)
{
    const _tag_unit_camera record = recordFromEvent(event(3));
    EXPECT_TRUE(record.name.isEmpty());
    EXPECT_EQ(record.id, 0);
    EXPECT_EQ(record.status, 0);
    EXPECT_EQ(record.connect, 1);
    EXPECT_EQ(record.ID, 3);
    EXPECT_EQ(record.vid, 0x1234);
    EXPECT_EQ(record.pid, 0x5678);
    EXPECT_STREQ(record.mode, "Cam");
    EXPECT_STREQ(record.devname, "Cam");
    EXPECT_STREQ(record.node, "");
}

TEST(CameraList, longNameIsCutAndMatchesNoMore)
{
    const std::string name(64, 'n');
    Records records{recordFromEvent(event(0, name.c_str()))};
    EXPECT_EQ(records[0].mode, std::string(63, 'n'));
    EXPECT_EQ(records[0].devname, std::string(63, 'n'));
    EXPECT_FALSE(contains(records, event(0, name.c_str()), SameOnlineDevice));
    markGone(records, event(0, name.c_str()));
    EXPECT_EQ(records[0].connect, 1);
}

TEST(CameraList, nameOf63BytesIsWhole)
{
    const std::string name(63, 'n');
    Records records{recordFromEvent(event(0, name.c_str()))};
    EXPECT_TRUE(contains(records, event(0, name.c_str()), SameOnlineDevice));
}

TEST(CameraList, namesAreCutByBytesNotByCharacters)
{
    // 21 characters of three bytes are 63, the 22nd is gone whole
    const QByteArray name = QStringLiteral("湾").repeated(22).toUtf8();
    EXPECT_EQ(QByteArray(recordFromEvent(event(0, name.constData())).mode), name.left(63));
    // here the cut falls into a character
    const QByteArray shifted = "x" + name;
    EXPECT_EQ(QByteArray(recordFromEvent(event(0, shifted.constData())).mode), shifted.left(63));
}

TEST(CameraList, sameOnlineDeviceComparesAllOfIt)
{
    const Records records{recordFromEvent(event())};
    EXPECT_TRUE(contains(records, event(), SameOnlineDevice));
    EXPECT_FALSE(contains(records, event(1), SameOnlineDevice));
    EXPECT_FALSE(contains(records, event(0, "cam"), SameOnlineDevice));
    EXPECT_FALSE(contains(records, event(0, "Cam", 1), SameOnlineDevice));
    EXPECT_FALSE(contains(records, event(0, "Cam", 4660, 1), SameOnlineDevice));
    EXPECT_FALSE(contains({offline(event())}, event(), SameOnlineDevice));
}

TEST(CameraList, actionOfTheEventIsNotCompared)
{
    const Records records{recordFromEvent(event())};
    EXPECT_TRUE(contains(records, QStringLiteral("remove,0,Cam,4660,22136"), SameOnlineDevice));
}

TEST(CameraList, eachCriterionLooksAtItsFieldOnly)
{
    _tag_unit_camera record = recordFromEvent(event(5, "Mode", 1, 2));
    std::strcpy(record.devname, "Other");
    const Records records{record};
    EXPECT_TRUE(contains(records, event(5, "x", 8, 9), Index));
    EXPECT_FALSE(contains(records, event(6, "x", 8, 9), Index));
    EXPECT_TRUE(contains(records, event(6, "Mode", 8, 9), Mode));
    EXPECT_FALSE(contains(records, event(6, "Other", 8, 9), Mode));
    EXPECT_TRUE(contains(records, event(6, "Other", 8, 9), DevName));
    EXPECT_FALSE(contains(records, event(6, "Mode", 8, 9), DevName));
    EXPECT_TRUE(contains(records, event(6, "x", 1, 2), UsbIds));
    EXPECT_FALSE(contains(records, event(6, "x", 1, 9), UsbIds));
    EXPECT_FALSE(contains(records, event(6, "x", 9, 2), UsbIds));
}

TEST(CameraList, withoutCriteriaNothingIsContained)
{
    EXPECT_FALSE(contains({recordFromEvent(event())}, event(), 0));
    EXPECT_FALSE(contains({recordFromEvent(event())}, event(), 32));
}

TEST(CameraList, onlineAloneAsksForAnyPresentDevice)
{
    EXPECT_FALSE(contains({offline(event())}, event(), Online));
    EXPECT_TRUE(contains({offline(event()), recordFromEvent(event(7))}, event(), Online));
}

TEST(CameraList, emptyListContainsNothing)
{
    for (const int criteria : {0, 1, 2, 4, 8, 16, 23, 31})
        EXPECT_FALSE(contains({}, event(), criteria)) << criteria;
}

TEST(CameraList, offlineRecordDoesNotHideAnOnlineOne)
{
    EXPECT_TRUE(contains({offline(event()), recordFromEvent(event())}, event(), SameOnlineDevice));
}

TEST(CameraList, everyRecordOfTheDeviceIsMarked)
{
    Records records{recordFromEvent(event()), recordFromEvent(event(1)), recordFromEvent(event())};
    records[0].status = 1;
    markGone(records, QStringLiteral("remove,0,Cam,4660,22136"));
    EXPECT_EQ(records[0].connect, 0);
    EXPECT_EQ(records[0].status, 1);
    EXPECT_EQ(records[1].connect, 1);
    EXPECT_EQ(records[2].connect, 0);
    EXPECT_EQ(records.size(), 3U);
}

TEST(CameraList, removeOfAnUnknownDeviceMarksNothing)
{
    Records records{recordFromEvent(event())};
    for (const QString &other : {event(1), event(0, "Cam2"), event(0, "Cam", 1), QString()})
        markGone(records, other);
    EXPECT_EQ(records[0].connect, 1);
}

TEST(CameraList, commaInTheNameIsConsistent)
{
    const QString add = QStringLiteral("add,0,A,B,4660,22136");
    Records records{recordFromEvent(add)};
    EXPECT_STREQ(records[0].mode, "A");
    EXPECT_EQ(records[0].vid, 0);
    EXPECT_EQ(records[0].pid, 4660);
    EXPECT_TRUE(contains(records, add, SameOnlineDevice));
    markGone(records, QStringLiteral("remove,0,A,B,4660,22136"));
    EXPECT_EQ(records[0].connect, 0);
}

TEST(CameraList, removeErasesNeighboursToo)
{
    Records records{recordFromEvent(event()), recordFromEvent(event()), recordFromEvent(event(1)),
                    recordFromEvent(event())};
    EXPECT_EQ(remove(records, event(), SameOnlineDevice), 3);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].ID, 1);
}

TEST(CameraList, removeKeepsOfflineRecordsWhenOnlineIsAsked)
{
    Records records{offline(event()), recordFromEvent(event())};
    EXPECT_EQ(remove(records, event(), SameOnlineDevice), 1);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].connect, 0);
    EXPECT_EQ(remove(records, event(), Index | Mode | UsbIds), 1);
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(remove(records, event(), SameOnlineDevice), 0);
}

TEST(CameraList, removeWithoutCriteriaErasesAll)
{
    Records records{offline(event()), recordFromEvent(event(1))};
    EXPECT_EQ(remove(records, event(), 0), 2);
    EXPECT_TRUE(records.empty());
}

TEST(CameraList, recordIsPrintedFieldByField)
{
    _tag_unit_camera record = recordFromEvent(event(2, "Cam", 0x1234, 0xA));
    record.name = QStringLiteral("棱湾1");
    record.status = 1;
    support::StdoutCapture output;
    printRecord(record);
    EXPECT_EQ(output.take(),
              "******************[func-ShowCameraUnitArgv***********************\n"
              "<<camera device info\n"
              "               id:0\n"
              "             name:棱湾1\n"
              "           status:1\n"
              "               ID:2\n"
              "              vid:1234\n"
              "              pid:000A\n"
              "             node:\n"
              "             mode:Cam\n"
              "          connect:1\n"
              "******************func-ShowCameraUnitArgv]***********************\n");
}
