#include "cli/controls.h"

#include "cli/advice/advice.h"
#include "cli/advice/videonodes.h"
#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "cli/commandline/suggestion.h"
#include "cli/controllines.h"
#include "cli/session/controlnode.h"
#include "library/controls/control_order.h"
#include "library/controls/control_values.h"
#include "library/settings/settings_reader.h"
#include "library/settings/settings_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace cli {
namespace {

using korv::Control;
using korv::ControlCall;

/// A control of the camera and the value that it is to get.
struct Setting
{
    Control control;
    std::int32_t value = 0;
};

const Control *find(const std::vector<Control> &controls, const std::string &name)
{
    const auto found = std::find_if(controls.begin(), controls.end(),
                                    [&](const Control &each) { return each.name == name; });
    return found == controls.end() ? nullptr : &*found;
}

std::string unknownControl(const std::vector<Control> &controls, const std::string &name)
{
    std::vector<std::string> names;
    names.reserve(controls.size());
    for (const Control &control : controls)
        names.push_back(control.name);
    const std::string meant = nearest(name, names);
    return meant.empty()
        ? tr("the camera has no control '%1'; `korvcam controls` lists those it has", name)
        : tr("the camera has no control '%1'; did you mean '%2'?", name, meant);
}

/// The work on one camera's controls.
class ControlTask
{
public:
    ControlTask(LibrarySession &session, const Options &options, const Device &device,
                const ControlCall &call)
        : m_session(session)
        , m_options(options)
        , m_section(korv::sectionOf({device.vid, device.pid}))
        , m_device(device)
        , m_call(call)
    {
    }

    ExitCode run();

private:
    ExitCode list();
    ExitCode reset();
    ExitCode set(std::vector<Setting> &settings);
    ExitCode save(const std::vector<Setting> &settings);
    bool readControls();
    bool settingsFor(std::vector<Setting> &settings) const;
    ExitCode apply(const Setting &setting);
    void printCount(const char *key, const char *text, std::size_t count);
    ExitCode change(const std::vector<korv::SettingChange> &changes);
    std::string inactiveReason(const Control &control) const;
    const std::map<std::string, std::string> &saved();

    LibrarySession &m_session;
    const Options &m_options;
    const std::string m_section; ///< of the camera's model in the settings file
    const Device &m_device;
    const ControlCall &m_call;
    std::vector<Control> m_controls;
    korv::Settings m_settings;
};

bool ControlTask::readControls()
{
    korv::Result<std::vector<Control>> controls = korv::listControls(m_call);
    if (!controls) {
        printError(m_device.name + ": " + trSentence(controls.error().text));
        return false;
    }
    m_controls = std::move(controls).value();
    if (m_controls.empty())
        printError(tr("%1 has no controls", m_device.name));
    return !m_controls.empty();
}

const std::map<std::string, std::string> &ControlTask::saved()
{
    static const std::map<std::string, std::string> nothing;
    m_settings = korv::readSettings(korv::settingsPaths()).settings;
    const korv::CameraSettings *const camera = m_settings.camera(m_device.vid, m_device.pid);
    return camera ? camera->controls : nothing;
}

ExitCode ControlTask::list()
{
    const std::map<std::string, std::string> &kept = saved();
    for (const Control &control : m_controls) {
        const auto saved = kept.find(control.name);
        const std::string *const value = saved == kept.end() ? nullptr : &saved->second;
        m_session.print(describe(control, value), objectOf(control, value));
    }
    return ExitCode::Success;
}

/// Every change, checked before the first one is made; false after saying what is wrong.
bool ControlTask::settingsFor(std::vector<Setting> &settings) const
{
    for (const ControlChange &change : m_options.changes) {
        const Control *const control = find(m_controls, change.name);
        if (!control) {
            printError(unknownControl(m_controls, change.name));
            return false;
        }
        const korv::Result<std::int32_t> value = korv::parseControlValue(*control, change.value);
        if (!value || control->isReadOnly()) {
            printError(control->isReadOnly() ? tr("%1 is read-only", control->name)
                                             : trSentence(value.error().text));
            return false;
        }
        settings.push_back({*control, value.value()});
    }
    // an automatic decides whether the values that it rules can be set
    std::stable_partition(settings.begin(), settings.end(),
                          [](const Setting &each) { return korv::isMaster(each.control); });
    for (const Setting &each : settings) {
        const Control *const master = korv::masterOf(each.control, m_controls);
        const bool masterChanges = master
            && std::any_of(settings.begin(), settings.end(),
                           [&](const Setting &other) { return other.control.id == master->id; });
        if (each.control.isInactive() && !masterChanges) {
            printError(inactiveReason(each.control));
            return false;
        }
    }
    return true;
}

std::string ControlTask::inactiveReason(const Control &control) const
{
    const Control *const master = korv::masterOf(control, m_controls);
    if (!master || !master->value)
        return tr("%1 is inactive: another control has taken its place", control.name);
    return tr("%1 is inactive while %2 is %3; set that in the same command", control.name,
              master->name, korv::controlValueText(*master, *master->value));
}

ExitCode ControlTask::apply(const Setting &setting)
{
    const Control &control = setting.control;
    const korv::Result<Control> now = korv::queryControl(m_call, control.id);
    const bool isInactive = now && now.value().isInactive();
    const korv::Result<void> written =
        isInactive ? korv::Result<void>() : korv::writeControl(m_call, control, setting.value);
    if (isInactive) {
        readControls();
        printError(inactiveReason(control));
    } else if (written.code() == -EBUSY) {
        printError(tr("%1 is in use by another program", control.name));
    } else if (!written) {
        printError(tr("cannot set %1", written.error().text));
    }
    if (isInactive || !written)
        return ExitCode::Failure;
    // a driver may round
    const std::optional<std::int32_t> value = korv::readControl(m_call, control);
    JsonLine object;
    object.add("name", control.name);
    if (value)
        object.add("value", *value);
    m_session.print(
        control.name
            + (value ? "=" + korv::controlValueText(control, *value) : "  " + tr("pressed")),
        object);
    return ExitCode::Success;
}

ExitCode ControlTask::set(std::vector<Setting> &settings)
{
    if (!settingsFor(settings))
        return ExitCode::Failure;
    for (const Setting &each : settings) {
        if (const ExitCode code = apply(each); code != ExitCode::Success)
            return code;
    }
    return ExitCode::Success;
}

ExitCode ControlTask::change(const std::vector<korv::SettingChange> &changes)
{
    const std::string path = korv::settingsPaths().user;
    if (path.empty()) {
        printError(tr("there is no place for settings; set HOME"));
        return ExitCode::Failure;
    }
    const korv::Result<void> changed = korv::changeSettings(path, changes);
    if (changed)
        return ExitCode::Success;
    printError(tr("cannot change %1: %2", path, changed.error().text));
    return ExitCode::Failure;
}

void ControlTask::printCount(const char *key, const char *text, std::size_t count)
{
    JsonLine object;
    object.add(key, static_cast<double>(count)).add("model", modelOf(m_device));
    m_session.print(tr(text, count, modelOf(m_device)), object);
}

ExitCode ControlTask::save(const std::vector<Setting> &settings)
{
    std::vector<korv::SettingChange> changes;
    const auto keep = [&](const Control &control) {
        const std::optional<std::int32_t> value = korv::readControl(m_call, control);
        if (control.isKeepable() && value)
            changes.push_back({m_section, "control." + control.name, std::to_string(*value)});
    };
    for (const Setting &each : settings)
        keep(each.control);
    if (m_options.changes.empty()) {
        for (const Control &control : m_controls) {
            if (!control.isInactive())
                keep(control);
        }
    }
    if (changes.empty()) {
        printError(tr("there is nothing to save: buttons have no value"));
        return ExitCode::Failure;
    }
    const ExitCode code = change(changes);
    if (code == ExitCode::Success)
        printCount("saved", trLater("saved %1 for %2"), changes.size());
    return code;
}

ExitCode ControlTask::reset()
{
    const std::map<std::string, std::string> kept = saved();
    std::vector<korv::SettingChange> changes;
    std::vector<Setting> settings;
    for (const auto &[name, value] : kept) {
        changes.push_back({m_section, "control." + name, std::nullopt});
        const Control *const control = find(m_controls, name);
        if (control && control->isKeepable())
            settings.push_back({*control, control->standard});
    }
    if (!changes.empty() && change(changes) != ExitCode::Success)
        return ExitCode::Failure;
    // what an automatic rules goes first here: it is inactive once the automatic is on again
    std::stable_partition(settings.begin(), settings.end(),
                          [](const Setting &each) { return !korv::isMaster(each.control); });
    for (const Setting &each : settings)
        static_cast<void>(korv::writeControl(m_call, each.control, each.value));
    printCount("forgot", trLater("forgot %1 for %2"), changes.size());
    return ExitCode::Success;
}

ExitCode ControlTask::run()
{
    if (!readControls())
        return ExitCode::Failure;
    ExitCode code = ExitCode::Success;
    std::vector<Setting> settings;
    if (m_options.reset)
        code = reset();
    if (code == ExitCode::Success && m_options.reset)
        readControls();
    if (code == ExitCode::Success)
        code = set(settings);
    if (code == ExitCode::Success && m_options.save)
        code = save(settings);
    if (code == ExitCode::Success && m_options.changes.empty() && !m_options.save
        && !m_options.reset)
        code = list();
    return code;
}

} // namespace

ExitCode openControls(const Device &device,
                      const std::function<ExitCode(const ControlCall &)> &work)
{
    if (device.node.empty()) {
        printError(tr("%1 has no controls: it is no camera of the kernel's", device.name));
        return ExitCode::Failure;
    }
    const ControlNode node(device.node);
    if (node.error() == EACCES || node.error() == EPERM)
        printError(adviceOnRights({device.node}, rightsOf(device.node)));
    else if (node.error() != 0)
        printError(tr("cannot open %1: %2", device.node, std::strerror(node.error())));
    return node.error() == 0 ? work(node.call()) : ExitCode::Failure;
}

ExitCode controls(LibrarySession &session, const Options &options)
{
    ExitCode code = ExitCode::Success;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    return openControls(*device, [&](const ControlCall &call) {
        return controlsOf(session, options, *device, call);
    });
}

ExitCode controlsOf(LibrarySession &session, const Options &options, const Device &device,
                    const ControlCall &call)
{
    return ControlTask(session, options, device, call).run();
}

} // namespace cli
