#include "cli/config.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "library/settings/settings_keys.h"
#include "library/settings/settings_reader.h"

#include <algorithm>
#include <cstdlib>

namespace cli {
namespace {

using korv::SettingInForce;
using korv::SettingKey;
using korv::SettingsReading;

std::string environment(const SettingKey &key)
{
    const char *const value = key.environment != nullptr ? std::getenv(key.environment) : nullptr;
    return value != nullptr ? value : "";
}

/// "title = A title ; /etc/korv-camera.conf:3"
std::string lineOf(const std::string &name, const std::string &value, const std::string &origin)
{
    return name + " =" + (value.empty() ? "" : " ") + value + " ; " + origin;
}

std::string originOf(const SettingInForce &setting)
{
    return setting.file + ":" + std::to_string(setting.line);
}

class Printer
{
public:
    explicit Printer(LibrarySession &session)
        : m_session(session)
    {
    }

    ExitCode run()
    {
        for (const std::string &path : {m_paths.system, m_paths.user})
            printFile(path);
        for (const SettingKey &key : korv::settingKeys())
            printKey(key);
        for (const SettingInForce &setting : m_reading.inForce) {
            if (!korv::cameraModelOf(setting.section))
                continue;
            printSection(setting.section);
            m_session.print(lineOf(setting.name, setting.value, originOf(setting)));
        }
        for (const std::string &problem : m_reading.problems)
            printError(trSentence(problem));
        return m_reading.problems.empty() ? ExitCode::Success : ExitCode::Failure;
    }

private:
    void printFile(const std::string &path)
    {
        if (path.empty())
            return;
        const auto &read = m_reading.files;
        const bool isRead = std::find(read.begin(), read.end(), path) != read.end();
        m_session.print("; " + path + (isRead ? "" : " " + tr("(not read)")));
    }

    void printSection(const std::string &section)
    {
        if (section != m_section)
            m_session.print("\n[" + section + "]");
        m_section = section;
    }

    void printKey(const SettingKey &key)
    {
        printSection(key.section);
        if (const std::string value = environment(key); !value.empty()) {
            korv::Settings tried;
            const auto refusal = key.read(value, tried);
            if (!refusal) {
                m_session.print(lineOf(key.name, value, key.environment));
                return;
            }
            m_reading.problems.push_back(std::string(key.environment) + ": " + *refusal);
        }
        const auto found = std::find_if(
            m_reading.inForce.begin(), m_reading.inForce.end(), [&](const SettingInForce &each) {
                return each.section == key.section && each.name == key.name;
            });
        if (found != m_reading.inForce.end() && !found->value.empty())
            m_session.print(lineOf(key.name, found->value, originOf(*found)));
        else
            m_session.print(lineOf(key.name, "", tr("default: %1", trSentence(key.standard))));
    }

    LibrarySession &m_session;
    const korv::SettingsPaths m_paths = korv::settingsPaths();
    SettingsReading m_reading = korv::readSettings(m_paths);
    std::string m_section;
};

} // namespace

ExitCode config(LibrarySession &session)
{
    return Printer(session).run();
}

} // namespace cli
