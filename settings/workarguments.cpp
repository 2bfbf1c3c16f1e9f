#include "settings/workarguments.h"

#include "settings/captureoptions.h"

#include <cstdlib>

namespace workarguments {

namespace {

struct Address
{
    const char *group;
    const char *key;
};

constexpr Address kVid{"device", "vid"};
constexpr Address kPid{"device", "pid"};
constexpr Address kResolution{"device", "res"};
constexpr Address kPath{"file", "path"};
constexpr Address kType{"file", "type"};
constexpr Address kMultpage{"file", "multpage"};
constexpr Address kQuality{"file", "quality"};
constexpr Address kColor{"image", "color"};
constexpr Address kCropType{"image", "crop-type"};
constexpr Address kRotate{"image", "rotate"};

// what a camera gets that was never saved
constexpr char kDefaultResolution[] = "";
constexpr char kDefaultType[] = "";
constexpr bool kDefaultMultpage = false;
constexpr int kDefaultQuality = 95;
constexpr char kDefaultPathVariable[] = "HOME";
constexpr const char *kDefaultCropType = captureoptions::kNone;
constexpr int kDefaultColor = 0;
constexpr const char *kDefaultRotate = captureoptions::kNone;

void store(backupSetting &file, const Address &address, const QVariant &value)
{
    file.setValue(QLatin1String(address.group), QLatin1String(address.key), value);
}

QVariant load(backupSetting &file, const Address &address, const QVariant &defaultValue)
{
    return file.value(QLatin1String(address.group), QLatin1String(address.key), defaultValue);
}

QString hexadecimal(int id)
{
    return QString::number(id, 16);
}

} // namespace

QString settingsFileName(const QString &backupFolder, int vid, int pid)
{
    return backupFolder + QStringLiteral("/%1*%2.ini").arg(hexadecimal(vid), hexadecimal(pid));
}

void write(backupSetting &file, int vid, int pid, const Shown &shown)
{
    store(file, kVid, hexadecimal(vid));
    store(file, kPid, hexadecimal(pid));
    store(file, kResolution, shown.resolution);
    store(file, kPath, shown.path);
    store(file, kType, shown.type);
    store(file, kMultpage, shown.multpage);
    store(file, kColor, shown.color);
    store(file, kCropType, shown.cropType);
    store(file, kRotate, shown.rotate);
}

QString savedResolution(backupSetting &file)
{
    return load(file, kResolution, QString::fromUtf8(kDefaultResolution)).toString();
}

void read(backupSetting &file, _tag_file_argv &argv)
{
    const QString type = load(file, kType, QString::fromUtf8(kDefaultType)).toString();
    const bool offered = !type.isEmpty() && argv.typelist.contains(type, Qt::CaseSensitive);
    argv.type = offered ? type : argv.typelist.value(0);
    argv.multpage = load(file, kMultpage, kDefaultMultpage).toBool();
    argv.quality = load(file, kQuality, kDefaultQuality).toInt();
    argv.path = load(file, kPath, QString::fromUtf8(std::getenv(kDefaultPathVariable))).toString();
    argv.crop_type = load(file, kCropType, QString::fromUtf8(kDefaultCropType)).toString();
    argv.color = load(file, kColor, kDefaultColor).toInt();
    argv.rotate = load(file, kRotate, QString::fromUtf8(kDefaultRotate)).toString();
}

} // namespace workarguments
