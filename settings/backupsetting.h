#pragma once

#include <QPointer>
#include <QSettings>
#include <QString>
#include <QVariant>

/// A settings file in INI format whose values are addressed by group and key. Changes reach the
/// disk when the object is destroyed; write errors are not reported. Thread: one at a time.
class backupSetting
{
public:
    explicit backupSetting(const QString &fileName);
    /// As the QSettings constructor with these arguments. A parent may delete the settings early;
    /// nothing but destruction is allowed then.
    backupSetting(QSettings::Format format, QSettings::Scope scope, const QString &organization,
                  const QString &application, QObject *parent);
    ~backupSetting();
    backupSetting(const backupSetting &) = delete;
    backupSetting &operator=(const backupSetting &) = delete;

    /// The settings file's name.
    QString path() const;
    void setValue(const QString &group, const QString &key, const QVariant &value);
    /// The stored value, `defaultValue` when there is none.
    QVariant value(const QString &group, const QString &key, const QVariant &defaultValue);
    bool isContain(const QString &group, const QString &key);
    void remove(const QString &group, const QString &key);
    /// Writes pending changes and reads what others have written.
    void sync();

private:
    QPointer<QSettings> m_settings;
};
