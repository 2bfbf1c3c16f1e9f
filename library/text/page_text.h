#pragma once

#include <string>
#include <vector>

namespace korv {

/// A word on a picture, as it was recognised. The box is in pixels from the picture's upper left
/// corner. A word of a script without spaces may be a single character.
struct PageWord
{
    std::string text; ///< UTF-8, not empty, no white space
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    int line = 0; ///< words of one line follow one another and have the same number
    bool spaceBefore = false; ///< never at the beginning of a line
};

/// The writing on an upright picture, in the order in which it is read.
struct PageText
{
    int width = 0; ///< of the picture, pixels
    int height = 0;
    std::vector<PageWord> words;
};

} // namespace korv
