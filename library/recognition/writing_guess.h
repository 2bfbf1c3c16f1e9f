#pragma once

#include "library/image/image.h"
#include "library/image/turn.h"

#include <optional>

namespace korv {

/// Where lines begin, and so where they are flush.
enum class LineStart { Left, Right };

struct WritingGuess
{
    Rotation turn = Rotation::None; ///< after it the writing probably stands upright
    bool isFlush = false; ///< one margin is ragged enough to read the whole page that way at once
};

/// How the writing on a Gray8 picture probably stands, found in a few milliseconds without reading it.
/// The gaps between the lines say whether they run across or down; and most pages have more ink where
/// their lines begin than where they end. Nothing where there are no clear lines, as on photographs. It
/// is a guess only: titles on their own, lines that are flush where they end and ruled tables mislead
/// it. Throws std::bad_alloc, cv::Exception.
std::optional<WritingGuess> guessTurn(const Image &gray, LineStart start = LineStart::Left);

/// A piece of a few lines from where the writing is densest, and below it the same piece on its head,
/// equally high. Nothing where no lines run across. Throws as guessTurn().
std::optional<Image> sampleBothWaysUp(const Image &gray);

} // namespace korv
