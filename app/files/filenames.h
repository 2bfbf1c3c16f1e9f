#pragma once

#include <QString>

/// Names of the files the window writes. Folders are used unchanged: no slash is added or
/// removed.
namespace filenames {

/// "%04d": longer numbers are printed in full.
QString fourDigits(int number);

/// The hidden working file of a photograph or an imported picture.
QString workingFile(const QString &folder, const QString &key);

/// An exported file; the format is the extension.
QString outputFile(const QString &folder, int number, const QString &format);

} // namespace filenames
