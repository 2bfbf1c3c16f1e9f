#pragma once

#include <QByteArray>
#include <QString>

/// Settings files with values of types that this program never stores. QSettings builds such a
/// value from the bytes in the file, and these can ask for more memory than there is.
namespace foreignvalues {

/// Whether reading these bytes as an INI file could meet one ("@Variant(", "@DateTime("). Escapes,
/// quotes and line ends do not hide it.
bool areIn(const QByteArray &ini);

/// Renames such a file to NAME.bad, in place of an older one. Returns the name to be used for the
/// settings: `fileName`, or when it could not be renamed one that no file can have.
QString putAside(const QString &fileName);

} // namespace foreignvalues
