#include "settings/backupsetting.h"

namespace {

/// Keeps a group open for one operation.
class Group
{
public:
    Group(QSettings &settings, const QString &name)
        : m_settings{settings}
    {
        m_settings.beginGroup(name);
    }
    ~Group() { m_settings.endGroup(); }
    Group(const Group &) = delete;
    Group &operator=(const Group &) = delete;

private:
    QSettings &m_settings;
};

} // namespace

backupSetting::backupSetting(const QString &fileName)
    : m_settings{new QSettings(fileName, QSettings::IniFormat)}
{
}

backupSetting::backupSetting(QSettings::Format format, QSettings::Scope scope,
                             const QString &organization, const QString &application,
                             QObject *parent)
    : m_settings{new QSettings(format, scope, organization, application, parent)}
{
}

backupSetting::~backupSetting()
{
    // QPointer, not unique_ptr: a parent may have been faster
    delete m_settings;
}

QString backupSetting::path() const
{
    return m_settings->fileName();
}

void backupSetting::setValue(const QString &group, const QString &key, const QVariant &value)
{
    const Group open{*m_settings, group};
    m_settings->setValue(key, value);
}

QVariant backupSetting::value(const QString &group, const QString &key,
                              const QVariant &defaultValue)
{
    const Group open{*m_settings, group};
    return m_settings->value(key, defaultValue);
}

bool backupSetting::isContain(const QString &group, const QString &key)
{
    const Group open{*m_settings, group};
    return m_settings->contains(key);
}

void backupSetting::remove(const QString &group, const QString &key)
{
    const Group open{*m_settings, group};
    m_settings->remove(key);
}

void backupSetting::sync()
{
    m_settings->sync();
}
