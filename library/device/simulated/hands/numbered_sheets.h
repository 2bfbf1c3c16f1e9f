#pragma once

#include "library/device/simulated/drawing/desk_scene.h"
#include "library/device/simulated/hands/hand_desk_options.h"
#include "library/image/image.h"

namespace korv {

/// A desk with one sheet, and where the sheet is on it.
struct LaidSheet
{
    Image picture; ///< Rgb24, under the desk's light
    SheetPlace place; ///< in pixels
    double width = 0; ///< of the sheet
    double height = 0;
};

/// Sheet `number`, from 0, of an endless pile: text, forms filled in by hand, pictures, nearly
/// empty ones. Each lies where a hand would have left it. The same options and number give the same
/// picture.
LaidSheet layNumberedSheet(const HandDeskOptions &options, int number, int width, int height);

} // namespace korv
