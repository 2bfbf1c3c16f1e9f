#include "library/controls/saved_controls.h"

namespace korv {

CameraControls CameraControls::leftAlone()
{
    CameraControls controls;
    controls.followMains = false;
    return controls;
}

const SavedControls &CameraControls::savedFor(int vid, int pid) const
{
    static const SavedControls nothing;
    const auto found = saved.find({vid, pid});
    return found == saved.end() ? nothing : found->second;
}

} // namespace korv
