#pragma once

#include "library/controls/control_access.h"
#include "library/controls/saved_controls.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace korv {

/// How a camera came into view.
enum class Appearance {
    PluggedIn, ///< just now: nobody can have set anything
    Found, ///< it was there before anybody looked
};

/// Sets the controls of cameras that appear.
class ControlRestorer
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Now = std::function<TimePoint()>;

    /// The answer to one question that takes longer ends the work: the camera does not answer.
    static constexpr std::chrono::milliseconds kPatience{1000};

    /// `mainsHertz`: the mains' frequency here, which the power line frequency follows where nobody
    /// has set it; nothing: it is not known.
    explicit ControlRestorer(
        std::optional<int> mainsHertz, Now now = [] { return std::chrono::steady_clock::now(); });

    /// Sets what is saved, automatics first. Of a camera that was found, a control that has neither
    /// its default nor the saved value was set by somebody and is left alone. What has no effect
    /// (inactive) is passed over; what cannot be set is logged, with `label` in front. False when the
    /// camera does not answer: better not to ask it more.
    bool restore(const ControlCall &call, const SavedControls &saved, Appearance appearance,
                 const std::string &label) const;

    /// Sets the power line frequency, if the camera has that control and it is at its default:
    /// to "auto" where that is offered, else to the mains' frequency.
    void adaptToMains(const ControlCall &call, const std::string &label) const;

private:
    class Patience;

    const std::optional<int> m_mainsHertz;
    const Now m_now;
};

} // namespace korv
