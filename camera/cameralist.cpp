#include "camera/cameralist.h"

#include "camera/deviceevent.h"

#include <QByteArray>
#include <algorithm>
#include <cstdio>

namespace cameralist {

namespace {

/// The event's fields, read once for a walk over many records.
struct Wanted
{
    int index;
    QByteArray name;
    int vid;
    int pid;

    explicit Wanted(const QString &event)
        : index{deviceevent::index(event)}
        , name{deviceevent::name(event).toUtf8()}
        , vid{deviceevent::vid(event)}
        , pid{deviceevent::pid(event)}
    {
    }
};

bool matches(const _tag_unit_camera &record, const Wanted &wanted, int criteria)
{
    if ((criteria & Index) != 0 && record.ID != wanted.index)
        return false;
    if ((criteria & Mode) != 0 && wanted.name != record.mode)
        return false;
    if ((criteria & DevName) != 0 && wanted.name != record.devname)
        return false;
    if ((criteria & UsbIds) != 0 && (record.vid != wanted.vid || record.pid != wanted.pid))
        return false;
    return (criteria & Online) == 0 || record.connect == 1;
}

template <std::size_t Size> void copyCut(char (&buffer)[Size], const QByteArray &utf8)
{
    std::snprintf(buffer, Size, "%s", utf8.constData());
}

} // namespace

bool contains(const std::vector<_tag_unit_camera> &records, const QString &event, int criteria)
{
    constexpr int kAny = Online | Index | Mode | DevName | UsbIds;
    if ((criteria & kAny) == 0)
        return false;
    const Wanted wanted{event};
    return std::any_of(records.begin(), records.end(), [&](const _tag_unit_camera &record) {
        return matches(record, wanted, criteria);
    });
}

_tag_unit_camera recordFromEvent(const QString &event)
{
    const Wanted wanted{event};
    _tag_unit_camera record;
    record.connect = 1;
    record.pid = wanted.pid;
    record.vid = wanted.vid;
    record.ID = wanted.index;
    copyCut(record.mode, wanted.name);
    copyCut(record.devname, wanted.name);
    return record;
}

void markGone(std::vector<_tag_unit_camera> &records, const QString &event)
{
    const Wanted wanted{event};
    for (_tag_unit_camera &record : records) {
        if (matches(record, wanted, Index | Mode | UsbIds))
            record.connect = 0;
    }
}

int remove(std::vector<_tag_unit_camera> &records, const QString &event, int criteria)
{
    const Wanted wanted{event};
    const auto kept =
        std::remove_if(records.begin(), records.end(), [&](const _tag_unit_camera &record) {
            return matches(record, wanted, criteria);
        });
    const auto erased = static_cast<int>(records.end() - kept);
    records.erase(kept, records.end());
    return erased;
}

void printRecord(const _tag_unit_camera &record)
{
    constexpr char kFunction[] = "ShowCameraUnitArgv";
    flockfile(stdout);
    std::printf("******************[func-%s***********************\n", kFunction);
    std::printf("<<camera device info\n");
    std::printf("               id:%d\n", record.id);
    std::printf("             name:%s\n", record.name.toUtf8().constData());
    std::printf("           status:%d\n", record.status);
    std::printf("               ID:%d\n", record.ID);
    std::printf("              vid:%04X\n", static_cast<unsigned>(record.vid));
    std::printf("              pid:%04X\n", static_cast<unsigned>(record.pid));
    std::printf("             node:%s\n", record.node);
    std::printf("             mode:%s\n", record.mode);
    std::printf("          connect:%d\n", record.connect);
    std::printf("******************func-%s]***********************\n", kFunction);
    funlockfile(stdout);
}

} // namespace cameralist
