#pragma once

#include "library/image/sheet_size.h"
#include "library/text/text_languages.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace korv {

/// A camera model: USB vendor and product.
using CameraModel = std::pair<int, int>;

/// "camera 1b17:0211" names a section. Nothing for any other text.
std::optional<CameraModel> cameraModelOf(const std::string &section);

/// The section of a model: "camera 1b17:0211".
std::string sectionOf(const CameraModel &model);

/// What [camera VVVV:PPPP] says.
struct CameraSettings
{
    std::map<std::string, std::string> controls; ///< by the name of the control; not looked at here
    std::map<std::pair<int, int>, double> scales; ///< pixels per millimetre, by width and height
};

/// The settings of the library, as files gave them. A new key is a member here and a row in
/// settings_keys.cpp.
struct Settings
{
    std::string title; ///< of documents; UTF-8; empty: the file's name
    std::optional<SheetSize> pageSize; ///< of all pages of documents
    TextLanguages text; ///< documents: writing is recognised in these languages
    double textWait = 20; ///< seconds that a document waits for the text of a page at most
    /// Documents: pages are turned upright where it is sure how they lie; nothing: those with text.
    std::optional<bool> upright;
    bool compact = false; ///< documents: pages of writing in layers, which are smaller

    bool followMains = true; ///< set the power line frequency of cameras where nobody has
    bool settle = false; ///< withhold the frames of a stream until the picture has settled
    bool clean = false; ///< photographs: paper white, light and shadow evened out
    bool checkFocus = false; ///< photographs: the log says when one is out of focus

    std::map<CameraModel, CameraSettings> cameras;

    /// Null when no file says anything about the model. Lives as long as the settings.
    const CameraSettings *camera(int vid, int pid) const;
    /// Pixels per millimetre on the desk under a camera whose frames have that size; 0 when nobody
    /// measured it.
    double scale(int vid, int pid, int width, int height) const;
};

} // namespace korv
