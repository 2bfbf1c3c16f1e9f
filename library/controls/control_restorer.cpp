#include "library/controls/control_restorer.h"

#include "library/base/log.h"
#include "library/controls/control_names.h"
#include "library/controls/control_order.h"
#include "library/controls/control_values.h"

#include <algorithm>
#include <cerrno>
#include <linux/videodev2.h>

namespace korv {
namespace {

/// A saved value and the control that it is for.
struct Wish
{
    Control control;
    std::int32_t value = 0;
};

const Control *find(const std::vector<Control> &controls, const std::string &name)
{
    const auto found = std::find_if(controls.begin(), controls.end(),
                                    [&](const Control &known) { return known.name == name; });
    return found == controls.end() ? nullptr : &*found;
}

/// Collects those of a camera's controls of which a value is saved. Others are not asked for, as far as
/// that can be avoided, nor are the values of a camera that was just plugged in, where nobody can have
/// set any: the driver has to ask the camera several things for each answer.
class SavedControlFinder
{
public:
    SavedControlFinder(const ControlCall &call, const SavedControls &saved, Appearance appearance)
        : m_call(call)
        , m_saved(saved)
        , m_appearance(appearance)
    {
    }

    /// -ENODEV: the camera is gone.
    Result<std::vector<Control>> find()
    {
        Result<void> asked = findStandard();
        if (asked && !isComplete())
            asked = visitControls(m_call, [&](Control control) {
                keep(std::move(control));
                return !isComplete();
            });
        if (!asked)
            return asked.error();
        return std::move(m_found);
    }

private:
    bool isComplete() const { return m_found.size() == m_saved.size(); }

    void keep(Control control)
    {
        if (m_saved.count(control.name) == 0 || korv::find(m_found, control.name))
            return;
        if (m_appearance == Appearance::Found)
            control.value = readControl(m_call, control);
        m_found.push_back(std::move(control));
    }

    /// Those whose names V4L2 has given them.
    Result<void> findStandard()
    {
        for (const auto &[name, text] : m_saved) {
            const std::optional<std::uint32_t> id = standardControlId(name);
            if (!id)
                continue;
            Result<Control> control = queryControl(m_call, *id);
            if (control)
                keep(std::move(control).value());
            else if (control.code() == -ENODEV)
                return control.error();
        }
        return {};
    }

    const ControlCall &m_call;
    const SavedControls &m_saved;
    const Appearance m_appearance;
    std::vector<Control> m_found;
};

/// What the camera has and takes of what is saved, automatics first; the rest is logged.
std::vector<Wish> wishesFor(const std::vector<Control> &controls, const SavedControls &saved,
                            const std::string &label)
{
    std::vector<Wish> wishes;
    for (const auto &[name, text] : saved) {
        const Control *const control = find(controls, name);
        if (!control) {
            logLine(LogLevel::Warning, label,
                    "saved control " + name + ": the camera has none of that name");
            continue;
        }
        const Result<std::int32_t> value = parseControlValue(*control, text);
        if (!value || !control->isKeepable())
            logLine(LogLevel::Warning, label,
                    "saved control " + (value ? name + " cannot be set" : value.error().text));
        else
            wishes.push_back({*control, value.value()});
    }
    std::stable_partition(wishes.begin(), wishes.end(),
                          [](const Wish &wish) { return isMaster(wish.control); });
    return wishes;
}

/// Whether a control's value is the saved one already, or one that somebody has set.
bool mustStay(const Wish &wish)
{
    const std::optional<std::int32_t> &value = wish.control.value;
    return value && (*value == wish.value || *value != wish.control.standard);
}

} // namespace

/// Hands questions on until one of them takes too long; those that follow are not asked.
class ControlRestorer::Patience
{
public:
    Patience(const ControlCall &call, const Now &now)
        : m_call(call)
        , m_now(now)
    {
    }

    int operator()(unsigned long request, void *argument)
    {
        if (m_ended)
            return -ENODEV; // which ends a list
        const TimePoint start = m_now();
        const int result = m_call(request, argument);
        m_ended = m_now() - start > kPatience;
        return result;
    }
    bool hasEnded() const { return m_ended; }

private:
    const ControlCall &m_call;
    const Now &m_now;
    bool m_ended = false;
};

ControlRestorer::ControlRestorer(std::optional<int> mainsHertz, Now now)
    : m_mainsHertz(mainsHertz)
    , m_now(std::move(now))
{
}

bool ControlRestorer::restore(const ControlCall &call, const SavedControls &saved,
                              Appearance appearance, const std::string &label) const
{
    if (saved.empty())
        return true;
    Patience patience(call, m_now);
    const ControlCall ask = std::ref(patience);
    const auto given = [&] {
        if (patience.hasEnded())
            logLine(LogLevel::Warning, label,
                    "the camera does not answer; its saved controls are not set");
        return patience.hasEnded();
    };
    const Result<std::vector<Control>> controls = SavedControlFinder(ask, saved, appearance).find();
    if (given())
        return false;
    if (!controls)
        return true;
    for (const Wish &wish : wishesFor(controls.value(), saved, label)) {
        if (mustStay(wish))
            continue;
        // an automatic that was set a moment ago may have changed that
        const Result<Control> now = queryControl(ask, wish.control.id);
        if (now && now.value().isInactive())
            continue;
        const Result<void> written = writeControl(ask, wish.control, wish.value);
        if (given())
            return false;
        if (written.code() == -ENODEV)
            return true;
        if (!written)
            logLine(LogLevel::Warning, label, "saved control " + written.error().text);
    }
    return true;
}

void ControlRestorer::adaptToMains(const ControlCall &call, const std::string &label) const
{
    Patience patience(call, m_now);
    const ControlCall ask = std::ref(patience);
    const Result<Control> control = queryControl(ask, V4L2_CID_POWER_LINE_FREQUENCY);
    if (!control || !control.value().isKeepable() || control.value().isInactive())
        return;
    const std::vector<ControlChoice> &choices = control.value().choices;
    const auto offers = [&](std::int32_t number) {
        return std::any_of(choices.begin(), choices.end(),
                           [=](const ControlChoice &choice) { return choice.number == number; });
    };
    std::optional<std::int32_t> wanted;
    if (offers(V4L2_CID_POWER_LINE_FREQUENCY_AUTO))
        wanted = V4L2_CID_POWER_LINE_FREQUENCY_AUTO;
    else if (m_mainsHertz)
        wanted = *m_mainsHertz == 60 ? V4L2_CID_POWER_LINE_FREQUENCY_60HZ
                                     : V4L2_CID_POWER_LINE_FREQUENCY_50HZ;
    const std::optional<std::int32_t> value = readControl(ask, control.value());
    // another value than the default is somebody's choice
    if (!wanted || !offers(*wanted) || value == wanted || value != control.value().standard)
        return;
    if (const Result<void> written = writeControl(ask, control.value(), *wanted);
        !written && written.code() != -ENODEV)
        logLine(LogLevel::Warning, label, written.error().text);
}

} // namespace korv
