#include "app/files/filenames.h"

namespace filenames {

QString fourDigits(int number)
{
    return QString::asprintf("%04d", number);
}

QString workingFile(const QString &folder, const QString &key)
{
    return QStringLiteral("%1/%2-%3.jpg").arg(folder, QStringLiteral(".vexalinplixo-preview"), key);
}

QString outputFile(const QString &folder, int number, const QString &format)
{
    return QStringLiteral("%1/%2.%3").arg(folder, fourDigits(number), format);
}

} // namespace filenames
