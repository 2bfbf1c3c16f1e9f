#include "settings/foreignvalues.h"

#include <QFile>
#include <QFileInfo>
#include <cctype>

namespace foreignvalues {

namespace {

bool isOctal(char each)
{
    return each >= '0' && each <= '7';
}

bool isHexadecimal(char each)
{
    return std::isxdigit(static_cast<unsigned char>(each)) != 0;
}

/// Reads digits from `at` on, as QSettings does: as many as there are, of which 16 bits count.
/// What is no ASCII character cannot be part of a type's name.
template <typename Predicate>
char escaped(const QByteArray &ini, int &at, int base, Predicate isDigit)
{
    unsigned value = 0;
    for (; at < ini.size() && isDigit(ini[at]); ++at) {
        const auto digit = QByteArray(1, ini[at]).toUInt(nullptr, base);
        value = (value * static_cast<unsigned>(base) + digit) & 0xFFFF;
    }
    return value < 0x80 ? static_cast<char>(value) : '?';
}

bool isLineEnd(char each)
{
    return each == '\n' || each == '\r';
}

/// Reads what stands behind a backslash at `at`, as QSettings does: a character by its number, a
/// character by its letter (none that matters here), or nothing at all.
QByteArray unescaped(const QByteArray &ini, int &at)
{
    if (isOctal(ini[at]))
        return QByteArray(1, escaped(ini, at, 8, isOctal));
    const char each = ini[at++];
    if (each == 'x') {
        const bool digits = at < ini.size() && isHexadecimal(ini[at]);
        return digits ? QByteArray(1, escaped(ini, at, 16, isHexadecimal)) : QByteArray();
    }
    if (isLineEnd(each) && at < ini.size() && isLineEnd(ini[at]) && ini[at] != each)
        ++at;
    return QByteArray("abfnrtv\"?'\\").contains(each) ? "?" : QByteArray();
}

/// The text as QSettings sees it, without what it skips between characters.
QByteArray plain(const QByteArray &ini)
{
    QByteArray result;
    for (int at = 0; at < ini.size();) {
        const char each = ini[at++];
        if (each == '\\' && at < ini.size())
            result += unescaped(ini, at);
        else if (each != '"' && each != ' ' && each != '\t')
            result += each;
    }
    return result;
}

} // namespace

bool areIn(const QByteArray &ini)
{
    // only where a value begins, or the next entry of a list: texts may hold such words
    const QByteArray text = plain(ini);
    return text.contains("=@Variant(") || text.contains(",@Variant(")
        || text.contains("=@DateTime(") || text.contains(",@DateTime(");
}

QString putAside(const QString &fileName)
{
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly) || !areIn(file.readAll()))
        return fileName;
    file.close();
    const QString aside = fileName + QStringLiteral(".bad");
    QFile::remove(aside);
    return file.rename(aside) ? fileName : fileName + QStringLiteral("/none");
}

} // namespace foreignvalues
