#pragma once

#include <map>
#include <string>
#include <utility>

namespace korv {

/// Values that are to be set whenever a camera of their model appears: by the control's name, as
/// v4l2-ctl has it, the text that parseControlValue() takes.
using SavedControls = std::map<std::string, std::string>;

/// What is to be done to the controls of cameras that appear.
struct CameraControls
{
    using Model = std::pair<int, int>; ///< vendor and product id

    std::map<Model, SavedControls> saved;
    bool followMains = true; ///< the power line frequency, where nobody has set it

    /// No camera's controls are touched.
    static CameraControls leftAlone();

    /// Empty for a model of which nothing is saved.
    const SavedControls &savedFor(int vid, int pid) const;
};

} // namespace korv
