#pragma once

#include "library/image/image.h"

namespace korv {

/// Where a hand is and how it lies. Lengths are in parts of the picture's width.
struct HandPose
{
    static constexpr int kLooks = 4; ///< kinds of skin and sleeve

    double x = 0; ///< middle of the palm
    double y = 0;
    double armX = 1; ///< unit vector from the palm along the arm
    double armY = 0;
    int look = 0;
};

/// Draws a hand with its arm into an Rgb24 picture.
void drawHand(Image &picture, const HandPose &pose);

/// Whether any of it is in a picture of that size. In doubt it is.
bool isHandInside(const HandPose &pose, int width, int height);

} // namespace korv
