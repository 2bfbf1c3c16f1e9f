#include "settings/unsafesettings.h"

#include "settings/backupsetting.h"
#include "tests/support/qt_printing.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <QFile>
#include <QSettings>
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <vector>

namespace {

// a list of texts that is 2 147 483 647 entries long
constexpr char kHugeList[] =
    R"([file]
type=@Variant(\0\0\0\xb\x7f\xff\xff\xff)
)";

class UnsafeSettings : public testing::Test
{
protected:
    QString stored(const std::string &content)
    {
        return QString::fromStdString(home.write("a*1.ini", content).string());
    }

    static QString typeIn(const QString &file)
    {
        backupSetting settings(unsafesettings::toRead(file));
        return settings.value(QStringLiteral("file"), QStringLiteral("type"), QStringLiteral("jpg"))
            .toString();
    }

    static void writeType(const QString &file, const char *type)
    {
        backupSetting settings(unsafesettings::toWrite(file));
        settings.setValue(QStringLiteral("file"), QStringLiteral("type"), QLatin1String(type));
    }

    static std::string content(const QString &file)
    {
        return support::readFile(file.toStdString());
    }

    /// What QSettings makes of the bytes: whether a value or an entry of a list is no text.
    bool qtBuildsOther(const std::string &ini)
    {
        // it keeps what it has read of a file: a new one each time
        const std::string name = std::to_string(++m_number) + ".ini";
        const std::filesystem::path path = home.write(name, ini);
        bool found = false;
        {
            const QSettings settings(QString::fromStdString(path.string()), QSettings::IniFormat);
            for (const QString &key : settings.allKeys()) {
                // some names that are listed cannot be asked for
                const QVariant value = settings.value(key.isEmpty() ? QStringLiteral("-") : key,
                                                      QStringLiteral("not found"));
                if (value.type() == QVariant::List) {
                    for (const QVariant &entry : value.toList())
                        found |= entry.type() != QVariant::String;
                } else {
                    found |=
                        value.type() != QVariant::String && value.type() != QVariant::StringList;
                }
            }
        }
        std::filesystem::remove(path);
        return found;
    }

    support::TempHome home;
    int m_number = 0;
};

/// A text of random parts.
std::string mixed(std::mt19937 &random, const std::vector<std::string> &parts, int length)
{
    std::string text;
    for (int i = 0; i < length; ++i)
        text += parts[random() % parts.size()];
    return text;
}

// whole, in pieces, and by their numbers; a number and a point in time that are harmless
const std::vector<std::string> kParts{R"(@Variant(\0\0\0\x2\0\0\0*))",
                                      R"(@DateTime(\0\0\0\x10\0\0\0\0\xff\xff\xff\xff\0))",
                                      R"(@Vari)",
                                      R"(ant(\0\0\0\x2\0\0\0*))",
                                      R"(\x40)",
                                      R"(\100)",
                                      R"(\x)",
                                      R"(\q)",
                                      R"(\")",
                                      "\\\n",
                                      "\\\r\n",
                                      "@",
                                      "\"",
                                      "\"",
                                      ",",
                                      ",",
                                      " ",
                                      "\t",
                                      "=",
                                      "x",
                                      "\xc3\xa9"};

} // namespace

TEST_F(UnsafeSettings, hugeListInASettingsFileTakesNoMemory)
{
    const QString file = stored(kHugeList);
    EXPECT_EQ(typeIn(file), QStringLiteral("jpg"));
}

TEST_F(UnsafeSettings, readingLeavesTheFileAndSaysSo)
{
    const QString file = stored(kHugeList);
    support::StdoutCapture output;
    EXPECT_EQ(typeIn(file), QStringLiteral("jpg"));
    EXPECT_EQ(output.take(),
              "settings not read, values of unknown kinds in:" + file.toStdString() + "\n");
    EXPECT_EQ(content(file), kHugeList);
    EXPECT_FALSE(QFile::exists(file + QStringLiteral(".bad")));
}

TEST_F(UnsafeSettings, writingKeepsTheFileUnderAnotherNameAndSaysSo)
{
    const QString file = stored(kHugeList);
    const QString bad = file + QStringLiteral(".bad");
    support::StdoutCapture output;
    writeType(file, "pdf");
    EXPECT_EQ(output.take(),
              "settings with values of unknown kinds kept as:" + bad.toStdString() + "\n");
    EXPECT_EQ(typeIn(file), QStringLiteral("pdf"));
    EXPECT_EQ(content(bad), kHugeList);

    // a second one takes nobody's place
    const std::string other = std::string(kHugeList) + "[x]\n";
    stored(other);
    writeType(file, "png");
    EXPECT_EQ(typeIn(file), QStringLiteral("png"));
    EXPECT_EQ(content(bad), kHugeList);
    EXPECT_EQ(content(bad + QStringLiteral(".2")), other);
}

TEST_F(UnsafeSettings, plainFileIsReadAndWrittenWithoutAWord)
{
    const QString file = stored("[file]\ntype=png\n");
    support::StdoutCapture output;
    EXPECT_EQ(typeIn(file), QStringLiteral("png"));
    writeType(file, "ofd");
    EXPECT_EQ(typeIn(file), QStringLiteral("ofd"));
    EXPECT_EQ(output.take(), "");
}

TEST_F(UnsafeSettings, fileThatCannotBeRenamedIsNotWritten)
{
    const QString file = stored(kHugeList);
    support::StdoutCapture output;
    for (int number = 1; number <= 1000; ++number)
        home.write(number == 1 ? "a*1.ini.bad" : "a*1.ini.bad." + std::to_string(number), "x");
    writeType(file, "pdf");
    EXPECT_EQ(output.take(),
              "settings not written, values of unknown kinds in:" + file.toStdString() + "\n");
    EXPECT_EQ(content(file), kHugeList);
    EXPECT_EQ(content(file + QStringLiteral(".bad")), "x");
}

TEST_F(UnsafeSettings, areSeenThroughEscapesQuotesAndLists)
{
    for (const char *ini : {
             "a=@Variant(x)",
             "a=@Variant(x) ",
             "a = \"@Variant(x)\"",
             "a=b, @Variant(x)",
             "a=\"b,c\",@Variant(x)",
             "a=\"b\"  \"@\",@Variant(x)",
             "[s]\r\na=@Variant(x)",
             "; note\na=@Variant(x)",
             "a=b;c\nd=@Variant(x)",
             "a=b;c=@Variant(x)\nd=@Variant(x)",
             "a=\"b\nc\"\nd=@Variant(x)",
             "\"a=b\"=@Variant(x)",
             "a\\=b=@Variant(x)",
             R"(a=\x40Variant(x))",
             R"(a=\100Variant(x))",
             R"(a=@\x56\x61riant(x))",
             R"(a=\x10040Variant(x))",
             R"(a=@\qVariant(x))",
             "a=@Vari\\\nant(x)",
             "a=@Vari\\\r\nant(x)",
             "a=\"@Vari\" ant(x)",
             "a=@DateTime(x)",
         })
        EXPECT_TRUE(unsafesettings::contains(ini)) << ini;
}

TEST_F(UnsafeSettings, ownValuesAreNotMistakenForThem)
{
    {
        backupSetting settings(QString::fromStdString((home.scratch() / "own.ini").string()));
        int number = 0;
        for (const QVariant &value :
             {QVariant(QStringLiteral("@Variant(x)")), QVariant(QStringLiteral("/a@Variant(x)")),
              QVariant(QStringLiteral("保存@DateTime(")), QVariant(true), QVariant(95),
              QVariant(QStringLiteral("a,b;\"c\"=\\@")), QVariant(QStringLiteral("a,@Variant(b)")),
              QVariant(QStringLiteral("x=@Variant(y)")), QVariant(QStringLiteral("p=@DateTime(q)")),
              QVariant(QStringLiteral("a\"\n=@Variant(b),@Variant(c)"))})
            settings.setValue(QStringLiteral("file"), QString::number(++number), value);
    }
    const QByteArray written =
        QByteArray::fromStdString(support::readFile(home.scratch() / "own.ini"));
    EXPECT_TRUE(written.contains("@@Variant(x)")) << written.toStdString();
    EXPECT_FALSE(unsafesettings::contains(written)) << written.toStdString();
    for (const char *ini : {"", "\\", "a=\\", "a=\\x", "a=@variant(", "a=@Variant", "a=x@Variant(",
                            "a=@Vari\nant(", "a=@Vari\\aant(", "a=\"", "a=\"b,@Variant(c)\"",
                            "; a=@Variant(b)", "@Variant(b)", "[a=@Variant(b)"})
        EXPECT_EQ(unsafesettings::contains(ini), qtBuildsOther(ini)) << ini;
}

TEST_F(UnsafeSettings, savedTextsOfAnyKindAreReadBack)
{
    std::mt19937 random(1);
    for (int i = 0; i < 1000; ++i) {
        const auto text = QString::fromStdString(mixed(random, kParts, 1 + i % 6));
        const QString file =
            QString::fromStdString((home.scratch() / (std::to_string(i) + ".ini")).string());
        {
            backupSetting settings(unsafesettings::toWrite(file));
            settings.setValue(QStringLiteral("file"), QStringLiteral("path"), text);
        }
        ASSERT_EQ(unsafesettings::toRead(file), file) << content(file);
        QFile::remove(file);
    }
}

TEST_F(UnsafeSettings, valueIsForeignWhenQtBuildsOtherThanTexts)
{
    std::vector<std::string> parts = kParts;
    // those at the end of a quoted value are not worth being exact about
    parts.erase(std::remove_if(parts.begin(), parts.end(),
                               [](const std::string &part) { return part == " " || part == "\t"; }),
                parts.end());
    std::mt19937 random(2);
    int foreign = 0;
    for (int i = 0; i < 4000; ++i) {
        const std::string ini = "a=" + mixed(random, parts, 1 + i % 8);
        const bool expected = qtBuildsOther(ini);
        ASSERT_EQ(unsafesettings::contains(QByteArray::fromStdString(ini)), expected) << ini;
        foreign += expected ? 1 : 0;
    }
    EXPECT_GT(foreign, 200);
    EXPECT_LT(foreign, 3800);
}

TEST_F(UnsafeSettings, nothingThatQtBuildsEscapesInWholeFiles)
{
    std::vector<std::string> parts = kParts;
    for (const char *part : {"\n", "\n", "\r\n", ";", "[s]\n", "\na=", "\nb=", "=@Variant(\\0"})
        parts.emplace_back(part);
    std::mt19937 random(3);
    int foreign = 0;
    for (int i = 0; i < 4000; ++i) {
        const std::string ini = mixed(random, parts, 1 + i % 30);
        if (!qtBuildsOther(ini))
            continue;
        ++foreign;
        ASSERT_TRUE(unsafesettings::contains(QByteArray::fromStdString(ini))) << ini;
    }
    EXPECT_GT(foreign, 100);
}
