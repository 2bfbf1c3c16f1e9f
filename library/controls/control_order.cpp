#include "library/controls/control_order.h"

#include <algorithm>
#include <array>
#include <linux/videodev2.h>

namespace korv {
namespace {

struct Pair
{
    std::uint32_t master;
    std::uint32_t ruled;
};

/// Automatics and the values that they take over.
constexpr std::array<Pair, 12> kPairs{{
    {V4L2_CID_EXPOSURE_AUTO, V4L2_CID_EXPOSURE_ABSOLUTE},
    {V4L2_CID_EXPOSURE_AUTO, V4L2_CID_EXPOSURE},
    {V4L2_CID_EXPOSURE_AUTO, V4L2_CID_IRIS_ABSOLUTE},
    {V4L2_CID_EXPOSURE_AUTO, V4L2_CID_GAIN},
    {V4L2_CID_AUTOGAIN, V4L2_CID_GAIN},
    {V4L2_CID_FOCUS_AUTO, V4L2_CID_FOCUS_ABSOLUTE},
    {V4L2_CID_AUTO_WHITE_BALANCE, V4L2_CID_WHITE_BALANCE_TEMPERATURE},
    {V4L2_CID_AUTO_WHITE_BALANCE, V4L2_CID_RED_BALANCE},
    {V4L2_CID_AUTO_WHITE_BALANCE, V4L2_CID_BLUE_BALANCE},
    {V4L2_CID_HUE_AUTO, V4L2_CID_HUE},
    {V4L2_CID_AUTOBRIGHTNESS, V4L2_CID_BRIGHTNESS},
    {V4L2_CID_ISO_SENSITIVITY_AUTO, V4L2_CID_ISO_SENSITIVITY},
}};

} // namespace

bool isMaster(const Control &control)
{
    // the driver's own word for it: other controls' values or flags change with this one
    return (control.flags & V4L2_CTRL_FLAG_UPDATE) != 0
        || std::any_of(kPairs.begin(), kPairs.end(),
                       [&](const Pair &pair) { return pair.master == control.id; });
}

const Control *masterOf(const Control &control, const std::vector<Control> &all)
{
    for (const Pair &pair : kPairs) {
        if (pair.ruled != control.id)
            continue;
        const auto found = std::find_if(
            all.begin(), all.end(), [&](const Control &each) { return each.id == pair.master; });
        if (found != all.end())
            return &*found;
    }
    return nullptr;
}

} // namespace korv
