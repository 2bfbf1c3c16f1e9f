// A settings file with any content: reading gives usable arguments, and what is then written is
// read back as it was.
#include "settings/captureoptions.h"
#include "settings/unsafesettings.h"
#include "settings/workarguments.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/feedback.h"

#include <QFile>
#include <QTemporaryDir>
#include <memory>

namespace {

/// A new file each time: QSettings keeps what it has read of a file and looks at its age only.
class SettingsFile
{
public:
    SettingsFile(const std::uint8_t *bytes, std::size_t size)
    {
        static const QTemporaryDir folder;
        static int number = 0;
        m_name = folder.filePath(QString::number(++number) + QStringLiteral(".ini"));
        QFile file(m_name);
        FUZZ_CHECK(file.open(QIODevice::WriteOnly));
        const auto length = static_cast<qint64>(size);
        FUZZ_CHECK(file.write(reinterpret_cast<const char *>(bytes), length) == length);
    }
    ~SettingsFile()
    {
        QFile::remove(m_name);
        QFile::remove(m_name + QStringLiteral(".bad"));
    }
    SettingsFile(const SettingsFile &) = delete;
    SettingsFile &operator=(const SettingsFile &) = delete;

    const QString &name() const { return m_name; }

private:
    QString m_name;
};

_tag_file_argv readArguments(const QString &file)
{
    backupSetting settings(unsafesettings::toRead(file));
    for (const char *key : {"file/type", "file/multpage", "file/quality", "file/path",
                            "image/color", "image/crop-type", "image/rotate"}) {
        const QVariant value = settings.value(QString(), QString::fromLatin1(key), QVariant());
        fuzz::noteOutcome(std::string(key) + (value.isNull() ? "null" : value.typeName()));
    }
    _tag_file_argv argv;
    argv.typelist = captureoptions::fileTypes();
    workarguments::read(settings, argv);
    FUZZ_CHECK(argv.typelist == captureoptions::fileTypes());
    FUZZ_CHECK(argv.typelist.contains(argv.type));
    FUZZ_CHECK(argv.fileno == 1 && argv.thumkey == 1 && argv.thumlist.empty());
    return argv;
}

QString resolutionIn(const QString &file)
{
    backupSetting settings(unsafesettings::toRead(file));
    return workarguments::savedResolution(settings);
}

/// Quality is left out: it is never written, and QSettings finds a key that stands outside of its
/// section only after it has read the whole file for another reason.
bool sameArguments(const _tag_file_argv &a, const _tag_file_argv &b)
{
    return a.type == b.type && a.multpage == b.multpage && a.path == b.path
        && a.crop_type == b.crop_type && a.color == b.color && a.rotate == b.rotate;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const SettingsFile file(bytes, size);
    const _tag_file_argv argv = readArguments(file.name());
    const QString resolution = resolutionIn(file.name());
    {
        backupSetting settings(unsafesettings::toWrite(file.name()));
        workarguments::write(settings, 0x1b17, 0x0211,
                             {resolution, argv.path, argv.type, argv.multpage, argv.color,
                              argv.crop_type, argv.rotate});
    }
    FUZZ_CHECK(sameArguments(readArguments(file.name()), argv));
    FUZZ_CHECK(resolutionIn(file.name()) == resolution);
    return 0;
}
