#include "library/image/turn.h"

namespace korv {

Turn Turn::then(const Turn &next) const
{
    // a diagonal swap that comes later turns one mirror into the other
    const bool x = next.transpose ? mirrorY : mirrorX;
    const bool y = next.transpose ? mirrorX : mirrorY;
    return {transpose != next.transpose, x != next.mirrorX, y != next.mirrorY};
}

Turn Turn::ofOrientation(int orientation)
{
    switch (orientation) {
    case 2:
        return {false, true, false};
    case 3:
        return {false, true, true};
    case 4:
        return {false, false, true};
    case 5:
        return {true, false, false};
    case 6:
        return {true, true, false};
    case 7:
        return {true, true, true};
    case 8:
        return {true, false, true};
    default:
        return {};
    }
}

Turn Turn::of(Rotation rotation)
{
    switch (rotation) {
    case Rotation::Left90:
        return {true, false, true};
    case Rotation::Right90:
        return {true, true, false};
    case Rotation::Half:
        return {false, true, true};
    case Rotation::None:
        break;
    }
    return {};
}

} // namespace korv
