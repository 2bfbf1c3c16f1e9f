#pragma once

#include "camera/camerarecords.h"

#include <array>

/// The fixed choices for photographs and files. Texts are UTF-8; crop and rotation texts are also
/// what the settings file stores, so they are no subject of translation.
namespace captureoptions {

/// A selector entry: what the user reads and what the camera library gets.
struct Choice
{
    const char *text;
    int code;
};

inline constexpr char kNone[] = "无";

inline constexpr std::array<Choice, 2> kCropChoices{{{kNone, -1}, {"自动裁切", 0}}};

inline constexpr std::array<Choice, 4> kRotationChoices{
    {{kNone, 0}, {"左旋90度", 1}, {"右旋90度", 2}, {"旋转180度", 3}}};

/// Display name of a colour code; "未知" for a code that is none.
QString colourName(int code);

/// The three colour modes in the order of their codes, which are also their positions.
std::vector<_tag_unit_cam_file_color_unit> colourList();

/// Output file types as lower-case extensions, in selector order.
QStringList fileTypes();

} // namespace captureoptions
