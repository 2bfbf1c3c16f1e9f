#pragma once

namespace korv {

/// Left and right are as the viewer sees it: Left90 is counter-clockwise.
enum class Rotation { None = 0, Left90 = 1, Right90 = 2, Half = 3 };

/// One of the eight ways to lay a picture: first the diagonal swaps rows and columns, then the
/// sides are mirrored.
struct Turn
{
    bool transpose = false;
    bool mirrorX = false; ///< left and right
    bool mirrorY = false; ///< top and bottom

    bool isNone() const { return !transpose && !mirrorX && !mirrorY; }

    /// This turn, and after it the other one.
    Turn then(const Turn &next) const;

    /// What the EXIF orientation (1..8) asks a reader to do (EXIF 2.3, tag 0x0112).
    static Turn ofOrientation(int orientation);
    static Turn of(Rotation rotation);
};

} // namespace korv
