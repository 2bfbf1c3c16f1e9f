#pragma once

#include <QObject>
#include <QString>

class QWidget;

namespace support {

/// The named widgets and layouts below `root`, one a line, indented by two blanks a level and in
/// the order of creation: "QLabel label (10,0 61x21)"; sizes only for widgets without a layout
/// around them. Parts that a widget makes for itself are left out.
QString namedTree(const QWidget &root);

} // namespace support
