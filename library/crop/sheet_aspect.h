#pragma once

#include "library/crop/lines/quadrilateral.h"

namespace korv {

/// Width by height of the flat sheet whose corners a camera sees at `sheet`, in a frame of the
/// given size. The focal length follows from the sheet's right angles as far as the tilt tells it,
/// else from what document cameras have. Within 2 % of a common format it is that format's own.
/// Corners that span no area count as a square's.
double sheetAspect(const Quadrilateral &sheet, int frameWidth, int frameHeight);

/// The aspect of A, B, letter or card (ISO 7810 ID-1) format, upright or lying, that is within 2 %;
/// else the aspect as given.
double snappedToFormat(double aspect);

} // namespace korv
