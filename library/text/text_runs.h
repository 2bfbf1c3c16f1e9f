#pragma once

#include "library/text/page_text.h"

#include <string>
#include <vector>

namespace korv {

/// Characters that fill a part of a line, each as wide as characterWidth() says in relation to the
/// others. Pixels from the picture's left edge.
struct TextRun
{
    std::u32string characters;
    double left = 0;
    double right = 0; ///< above `left`
};

/// A line of a text layer: runs that adjoin, a single space between two words.
struct RunLine
{
    double top = 0; ///< pixels from the picture's upper edge
    double height = 0;
    std::vector<TextRun> runs;
};

/// The places of a page's writing as a text layer has them: every line goes from left to right without
/// gaps, which a reader would take for spaces. Words have their boxes. In a row of Chinese characters,
/// whose boxes are guesses, the characters share the room of the row. Words that end to the
/// left of where the last one begins, as in scripts that go another way, begin a line.
std::vector<RunLine> layOut(const PageText &text);

} // namespace korv
