#pragma once

#include "library/image/turn.h"
#include "library/recognition/tesseract_table.h"

#include <optional>

namespace korv {

/// How well a picture was read as it lies.
struct ReadingQuality
{
    double confidence = 0; ///< 0..100: the mean over all characters
    int characters = 0;
    double across = 0; ///< share of the characters in lines that are wider than high
    int letters = 0; ///< characters that are no digits and no signs
};

ReadingQuality qualityOf(const TesseractTable &table);

/// The turn after which the writing may stand upright; nothing for a picture that was read well as it
/// lies, or that has too little writing for a judgement. Tesseract reads a line that runs downwards as
/// if it had been turned to the left. So a line across that makes no sense is upside down, a line down
/// that makes sense has to be turned to the left, and one that makes none to the right.
std::optional<Rotation> turnWorthTrying(const ReadingQuality &asItLies);

/// Whether it is certain that the picture has to be turned: after the turn it was read well, and far
/// better than before. No doubt is small enough to turn a page that lay right.
bool isUprightForSure(const ReadingQuality &asItLies, const ReadingQuality &turned);

/// What turns the upper half of a sample upright, see sampleBothWaysUp(): Rotation::None or
/// Rotation::Half; nothing where neither half makes far more sense than the other.
std::optional<Rotation> turnOfSample(const TesseractTable &sample);

/// Whether a page, a sample of which was clear, was read well, in lines that run across.
bool isReadUpright(const ReadingQuality &page);

/// Whether a page that nothing but its margins speaks for was read so well that it stands upright for
/// sure: as isReadUpright(), but better, and half of it are letters. Digits make sense on their head, too.
bool isReadUprightForSure(const ReadingQuality &page);

} // namespace korv
