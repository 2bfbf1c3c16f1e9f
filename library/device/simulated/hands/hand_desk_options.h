#pragma once

#include "library/base/result.h"

#include <cstdint>
#include <string>

namespace korv {

/// The lamp over the desk, and what it does to the camera's picture.
enum class DeskLight {
    Day, ///< clouds pass; little noise
    Lamp, ///< warm, and flickers with the mains; bands run through the picture
    Dim, ///< much noise
    Window, ///< from one side, stronger and weaker by the minute
};

enum class DeskPaper { White, Recycled, Cream, Glossy };

/// A desk whose pages a hand turns.
struct HandDeskOptions
{
    std::uint64_t seed = 1; ///< decides what is on the pages and what the hand does
    double speed = 1; ///< 2: twice as fast
    int turns = 0; ///< times that the hand comes; 0: for ever
    DeskLight light = DeskLight::Day;
    DeskPaper paper = DeskPaper::White;
};

/// Reads "hands" with any of ",seed=N", ",speed=X" (0.1 to 10), ",turns=N", ",light=day|lamp|dim|
/// window", ",paper=white|recycled|cream|glossy" behind it. -EINVAL with the word that is wrong.
Result<HandDeskOptions> readHandDesk(const std::string &text);

} // namespace korv
