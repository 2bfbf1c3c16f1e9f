#pragma once

#include <QString>

/// What saving does with a file format.
namespace exportplan {

enum class Kind {
    Unsupported, ///< nothing is written
    SingleFiles, ///< one file per photograph
    OneDocument, ///< all photographs combined
};

/// Formats are compared exactly, in lower case. Picture formats are single files regardless of the
/// multi-page switch says.
Kind kindOf(const QString &format, bool multiPage);

} // namespace exportplan
