#pragma once

#include "camera/camerarecords.h"

/// Operations on the list of camera records, each directed by a device event string
/// (camera/deviceevent.h). They take no lock: the caller holds the one that guards the list.
namespace cameralist {

/// What a record must have in common with the event; combined by adding.
enum Criteria : int {
    Online = 1, ///< the record's device is present; tested last
    Index = 2,
    Mode = 4, ///< device name, compared byte by byte with `mode`
    DevName = 8, ///< the same with `devname`
    UsbIds = 16, ///< vendor and product id
    SameOnlineDevice = Online + Index + Mode + UsbIds
};

/// Whether some record satisfies the criteria. Without any criterion the answer is false; Online
/// alone asks whether any device is present.
bool contains(const std::vector<_tag_unit_camera> &records, const QString &event, int criteria);

/// A new record of the event's device: present, not open, without a display name. A device name
/// over 63 bytes is cut, and matches no event from then on.
_tag_unit_camera recordFromEvent(const QString &event);

/// Marks every record of the event's device as gone; the records stay.
void markGone(std::vector<_tag_unit_camera> &records, const QString &event);

/// Erases every record that satisfies the criteria; returns how many. Without any criterion every
/// record qualifies.
int remove(std::vector<_tag_unit_camera> &records, const QString &event, int criteria);

/// Prints the record to standard output, one field a line.
void printRecord(const _tag_unit_camera &record);

} // namespace cameralist
