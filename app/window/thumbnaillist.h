#pragma once

#include "camera/camerarecords.h"

#include <QString>

#include <list>

/// The photographs taken and not yet saved. Entries own their working files: what leaves the list
/// by removeFirst() or clear() is deleted from disk. Copies of the list own nothing. Keys are
/// compared exactly; look-ups take the first of equal keys.
namespace thumbnaillist {

using List = std::list<_tag_unit_Thum_file_unit>;

void append(List &list, const QString &key, const QString &filePath);

/// Puts a new entry before every entry with this key; without one, nowhere.
void insertBefore(List &list, const QString &key, const QString &filePath);

/// Deletes the file and drops the entry. Without a match nothing happens.
void removeFirst(List &list, const QString &key);

/// Deletes every file, front to back, and empties the list.
void clear(List &list);

/// The file at a position; empty outside the list.
QString fileAt(const List &list, int index);

/// The file of a key; empty when there is none.
QString fileOf(const List &list, const QString &key);

} // namespace thumbnaillist
