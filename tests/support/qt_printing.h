#pragma once

#include <QString>
#include <QStringList>
#include <ostream>

// How a failed expectation shows Qt's values; found by argument-dependent look-up.

inline void PrintTo(const QString &text, std::ostream *stream)
{
    *stream << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList &list, std::ostream *stream)
{
    *stream << '[' << list.join(QStringLiteral(", ")).toStdString() << ']';
}
