#pragma once

#include "library/image/turn.h"

#include <string>
#include <vector>

namespace korv {

/// A word on a picture, as it was recognised. Pixels from the picture's left edge. A word of a script
/// without spaces may be a single character.
struct PageWord
{
    std::string text; ///< valid UTF-8, not empty, no white space
    int left = 0;
    int width = 0; ///< positive
    bool spaceBefore = false; ///< never at the beginning of a line
};

/// A line of writing. Pixels from the picture's upper edge.
struct PageLine
{
    int top = 0;
    int height = 0; ///< positive
    std::vector<PageWord> words; ///< not empty
};

/// The writing on a picture, in the order in which it is read.
struct PageText
{
    int width = 0; ///< pixels
    int height = 0;
    std::vector<PageLine> lines;
    /// Lays the picture upright for a reader. All else is said of the picture after this turn.
    Rotation turn = Rotation::None;
};

} // namespace korv
