#pragma once

#include <QByteArray>
#include <QString>

/// Settings files with values of types that this program never stores. QSettings builds such a
/// value from the bytes in the file, and these can ask for more memory than there is. So such a
/// file is not read. It belongs to somebody all the same: reading leaves it where it is, and
/// writing keeps it under another name.
namespace unsafesettings {

/// Whether reading these bytes as an INI file would meet one: an entry of a value that begins with
/// "@Variant(" or "@DateTime(". Escapes, quotes and line ends do not hide it; a text that holds
/// such words, as QSettings writes it, is none.
bool contains(const QByteArray &ini);

/// The name from which settings are to be read: `fileName`, or for a file with such values, which a
/// trace line tells of, one that no file can have. Changes nothing on the disk.
QString toRead(const QString &fileName);

/// The name under which settings are to be written: `fileName`. A file with such values is first
/// renamed to NAME.bad, or NAME.bad.2 and so on where that is taken, which a trace line reports.
/// Where it cannot be renamed, a name that no file can have: what is there stays.
QString toWrite(const QString &fileName);

} // namespace unsafesettings
