#include "library/controls/control_names.h"

#include <algorithm>
#include <array>
#include <linux/videodev2.h>

namespace korv {
namespace {

struct StandardControl
{
    const char *name;
    std::uint32_t id;
};

/// What the kernel's driver for USB cameras knows, by the kernel's names.
constexpr std::array<StandardControl, 23> kStandardControls{{
    {"brightness", V4L2_CID_BRIGHTNESS},
    {"contrast", V4L2_CID_CONTRAST},
    {"saturation", V4L2_CID_SATURATION},
    {"hue", V4L2_CID_HUE},
    {"hue_automatic", V4L2_CID_HUE_AUTO},
    {"white_balance_automatic", V4L2_CID_AUTO_WHITE_BALANCE},
    {"white_balance_temperature", V4L2_CID_WHITE_BALANCE_TEMPERATURE},
    {"red_balance", V4L2_CID_RED_BALANCE},
    {"blue_balance", V4L2_CID_BLUE_BALANCE},
    {"gamma", V4L2_CID_GAMMA},
    {"gain", V4L2_CID_GAIN},
    {"power_line_frequency", V4L2_CID_POWER_LINE_FREQUENCY},
    {"sharpness", V4L2_CID_SHARPNESS},
    {"backlight_compensation", V4L2_CID_BACKLIGHT_COMPENSATION},
    {"auto_exposure", V4L2_CID_EXPOSURE_AUTO},
    {"exposure_time_absolute", V4L2_CID_EXPOSURE_ABSOLUTE},
    {"exposure_dynamic_framerate", V4L2_CID_EXPOSURE_AUTO_PRIORITY},
    {"pan_absolute", V4L2_CID_PAN_ABSOLUTE},
    {"tilt_absolute", V4L2_CID_TILT_ABSOLUTE},
    {"zoom_absolute", V4L2_CID_ZOOM_ABSOLUTE},
    {"focus_absolute", V4L2_CID_FOCUS_ABSOLUTE},
    {"focus_automatic_continuous", V4L2_CID_FOCUS_AUTO},
    {"iris_absolute", V4L2_CID_IRIS_ABSOLUTE},
}};

} // namespace

std::string controlName(const std::string &title)
{
    std::string name;
    bool between = false;
    for (const char letter : title) {
        // independent of the locale
        const bool isUpper = letter >= 'A' && letter <= 'Z';
        const bool counts =
            isUpper || (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9');
        if (!counts) {
            between = !name.empty();
            continue;
        }
        if (between)
            name += '_';
        between = false;
        name += isUpper ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return name;
}

std::optional<std::uint32_t> standardControlId(const std::string &name)
{
    const auto found =
        std::find_if(kStandardControls.begin(), kStandardControls.end(),
                     [&](const StandardControl &control) { return name == control.name; });
    return found == kStandardControls.end() ? std::nullopt : std::optional(found->id);
}

} // namespace korv
