#include "camera/camerarecords.h"

#include "tests/support/qt_printing.h"

#include <cstring>
#include <gmock/gmock.h>
#include <type_traits>

TEST(CameraRecords, newCameraRecordIsEmptyAndOffline)
{
    const _tag_unit_camera record;
    EXPECT_TRUE(record.name.isEmpty());
    EXPECT_EQ(record.id, 0);
    EXPECT_EQ(record.status, 0);
    EXPECT_EQ(record.connect, 0);
    EXPECT_STREQ(record.devname, "");
    EXPECT_STREQ(record.node, "");
    EXPECT_STREQ(record.mode, "");
    EXPECT_EQ(sizeof record.devname, 64U);
    EXPECT_EQ(sizeof record.node, 64U);
    EXPECT_EQ(sizeof record.mode, 64U);
}

TEST(CameraRecords, copyIsIndependent)
{
    _tag_unit_camera record;
    record.name = QStringLiteral("Cam");
    std::strcpy(record.mode, "Cam");
    const _tag_unit_camera copy = record;
    record.name.append(QStringLiteral("1"));
    record.mode[0] = 'X';
    EXPECT_EQ(copy.name, QStringLiteral("Cam"));
    EXPECT_STREQ(copy.mode, "Cam");
}

TEST(CameraRecords, fieldsStandInTheirOrder)
{
    const _tag_unit_cam_res_unit resolution{QStringLiteral("640*480"), 2, 640, 480};
    EXPECT_EQ(resolution.name, QStringLiteral("640*480"));
    EXPECT_EQ(resolution.res_no, 2);
    EXPECT_EQ(resolution.res_w, 640);
    EXPECT_EQ(resolution.res_h, 480);
    const _tag_unit_cam_file_color_unit colour{QStringLiteral("灰度"), 1, QStringLiteral("gray")};
    EXPECT_EQ(colour.index, 1);
    EXPECT_EQ(colour.key, QStringLiteral("gray"));
    const _tag_unit_Thum_file_unit photograph{7, QStringLiteral("0007"), QStringLiteral("/a")};
    EXPECT_EQ(photograph.number, 7);
    EXPECT_EQ(photograph.key, QStringLiteral("0007"));
    EXPECT_EQ(photograph.filePath, QStringLiteral("/a"));
}

TEST(CameraRecords, workingArgumentsStartWithTheirDefaults)
{
    const _tag_file_argv argv;
    EXPECT_TRUE(argv.colorlist.empty());
    EXPECT_TRUE(argv.typelist.isEmpty());
    EXPECT_FALSE(argv.multpage);
    EXPECT_EQ(argv.quality, 95);
    EXPECT_EQ(argv.color, 0);
    EXPECT_EQ(argv.thumkey, 1);
    EXPECT_EQ(argv.fileno, 1);
    EXPECT_TRUE(argv.thumlist.empty());
    for (const QString &text : {argv.type, argv.path, argv.crop_type, argv.rotate})
        EXPECT_TRUE(text.isEmpty());
}
