#include "settings/unsafesettings.h"

#include <QFile>
#include <QFileInfo>
#include <cctype>
#include <cstdio>

// The text is taken apart as QSettings does it (Qt 5.15, qsettings.cpp), oddities included: what it
// takes for a value must be seen here as one, and a text that it has written must not.

namespace unsafesettings {

namespace {

constexpr int kMaxNames = 1000;

bool isOctal(char each)
{
    return each >= '0' && each <= '7';
}

bool isHexadecimal(char each)
{
    return std::isxdigit(static_cast<unsigned char>(each)) != 0;
}

bool isLineEnd(char each)
{
    return each == '\n' || each == '\r';
}

bool isBlank(char each)
{
    return each == ' ' || each == '\t';
}

/// Two characters that end one line.
bool isDoubleLineEnd(const QByteArray &ini, int first)
{
    return first + 1 < ini.size() && isLineEnd(ini[first]) && isLineEnd(ini[first + 1])
        && ini[first] != ini[first + 1];
}

/// The value of a line, from behind its equals sign to its end.
struct Range
{
    int begin;
    int end;
};

/// Goes through the lines that have an equals sign. Quotes and backslashes carry a line on.
class Lines
{
public:
    explicit Lines(const QByteArray &ini)
        : m_ini(ini)
    {
    }

    /// False at the end; a line without a value, such as a comment or a section's name, has an
    /// empty range.
    bool next(Range &value)
    {
        while (m_at < m_ini.size() && (isBlank(m_ini[m_at]) || isLineEnd(m_ini[m_at])))
            ++m_at;
        if (m_at >= m_ini.size())
            return false;
        if (m_ini[m_at] == ';') {
            while (m_at < m_ini.size() && !isLineEnd(m_ini[m_at]))
                ++m_at;
            value = {m_at, m_at};
            return true;
        }
        const bool isSection = m_ini[m_at] == '[';
        const int equals = findEnd();
        value = {isSection || equals < 0 ? m_at : equals + 1, m_at};
        return true;
    }

private:
    /// Moves to the end of the line; the place of its equals sign, negative when it has none.
    int findEnd()
    {
        bool inQuotes = false;
        int equals = -1;
        for (; m_at < m_ini.size(); ++m_at) {
            const char each = m_ini[m_at];
            if (each == '"')
                inQuotes = !inQuotes;
            else if (each == '\\')
                m_at += isDoubleLineEnd(m_ini, m_at + 1) ? 2 : 1;
            else if (inQuotes)
                continue;
            else if (each == ';' || isLineEnd(each))
                break;
            else if (each == '=' && equals < 0)
                equals = m_at;
        }
        m_at = qMin(m_at, m_ini.size());
        return equals;
    }

    const QByteArray &m_ini;
    int m_at = 0;
};

/// Goes through the entries of a value, which commas outside of quotes part.
class Entries
{
public:
    Entries(const QByteArray &ini, Range value)
        : m_ini(ini)
        , m_at(value.begin)
        , m_end(value.end)
    {
    }

    bool atEnd() const { return m_at > m_end; }

    /// The next entry as QSettings sees it, with a question mark for what is not ASCII: no type's
    /// name holds it.
    QByteArray next()
    {
        QByteArray entry;
        bool inQuotes = false;
        skipBlanks();
        while (m_at < m_end) {
            const char each = m_ini[m_at++];
            if (each == '\\') {
                if (m_at < m_end)
                    entry += unescaped();
            } else if (each == '"') {
                inQuotes = !inQuotes;
                if (!inQuotes)
                    skipBlanks();
            } else if (each == ',' && !inQuotes) {
                return entry;
            } else {
                entry += each;
            }
        }
        m_at = m_end + 1;
        return entry;
    }

private:
    void skipBlanks()
    {
        while (m_at < m_end && isBlank(m_ini[m_at]))
            ++m_at;
    }

    /// What stands behind a backslash: a character by its number, one by its letter (none that
    /// matters here), or nothing at all.
    QByteArray unescaped()
    {
        if (isOctal(m_ini[m_at]))
            return numbered(8, isOctal);
        const char each = m_ini[m_at];
        m_at += isDoubleLineEnd(m_ini, m_at) ? 2 : 1;
        if (each != 'x')
            return QByteArray("abfnrtv\"?'\\").contains(each) ? "?" : QByteArray();
        const bool digits = m_at < m_end && isHexadecimal(m_ini[m_at]);
        return digits ? numbered(16, isHexadecimal) : QByteArray();
    }

    /// As many digits as there are, of which 16 bits count.
    template <typename Predicate> QByteArray numbered(int base, Predicate isDigit)
    {
        unsigned value = 0;
        for (; m_at < m_end && isDigit(m_ini[m_at]); ++m_at) {
            const auto digit = QByteArray(1, m_ini[m_at]).toUInt(nullptr, base);
            value = (value * static_cast<unsigned>(base) + digit) & 0xFFFF;
        }
        return {1, value < 0x80 ? static_cast<char>(value) : '?'};
    }

    const QByteArray &m_ini;
    int m_at;
    int m_end;
};

/// QSettings drops blanks at the end, unless they are quoted.
bool isForeign(const QByteArray &entry)
{
    return (entry.startsWith("@Variant(") || entry.startsWith("@DateTime("))
        && entry.trimmed().endsWith(')');
}

bool isForeignFile(const QString &fileName)
{
    QFile file(fileName);
    return QFileInfo(fileName).isFile() && file.open(QIODevice::ReadOnly)
        && contains(file.readAll());
}

/// No file can lie below a file.
QString nameOfNoFile(const QString &fileName)
{
    return fileName + QStringLiteral("/none");
}

} // namespace

bool contains(const QByteArray &ini)
{
    Lines lines(ini);
    for (Range value{}; lines.next(value);) {
        for (Entries entries(ini, value); !entries.atEnd();) {
            if (isForeign(entries.next()))
                return true;
        }
    }
    return false;
}

QString toRead(const QString &fileName)
{
    if (!isForeignFile(fileName))
        return fileName;
    std::printf("settings not read, values of unknown kinds in:%s\n",
                fileName.toStdString().c_str());
    return nameOfNoFile(fileName);
}

QString toWrite(const QString &fileName)
{
    if (!isForeignFile(fileName))
        return fileName;
    const QString first = fileName + QStringLiteral(".bad");
    QString aside = first;
    // QFile::rename() takes no name that is in use
    for (int number = 2; number <= kMaxNames; ++number) {
        if (QFile::rename(fileName, aside)) {
            std::printf("settings with values of unknown kinds kept as:%s\n",
                        aside.toStdString().c_str());
            return fileName;
        }
        if (!QFileInfo::exists(aside))
            break;
        aside = first + QLatin1Char('.') + QString::number(number);
    }
    std::printf("settings not written, values of unknown kinds in:%s\n",
                fileName.toStdString().c_str());
    return nameOfNoFile(fileName);
}

} // namespace unsafesettings
