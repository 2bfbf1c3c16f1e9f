#include "library/recognition/reading_direction.h"

#include "library/text/scripts.h"

#include <algorithm>

namespace korv {

namespace {

// Pages that lie right are read with a mean confidence above 85, in English as in Chinese, poor
// photographs of them above 70; on their head with less than 55 and 25.
constexpr double kReadWell = 70;
constexpr double kFarBetter = 20;

// Pages with lines of both kinds, upright and on their head, are read with less than 75.
constexpr double kReadVeryWell = 80;

// Words that are cut at the edges of a sample make less sense. Samples that stand upright are read with
// a mean confidence above 65, at least 38 above that of the same lines on their head.
constexpr double kSampleReadWell = 55;
constexpr double kSampleFarBetter = 25;

/// With fewer characters, digits and signs that look alike upside down have a say.
constexpr int kEnoughCharacters = 20;

constexpr double kMost = 0.8; ///< of the characters of a page with one reading direction

/// Digits of other scripts than Latin count as letters.
bool isLetter(char32_t character)
{
    const char32_t small = character | 0x20U;
    const bool isAscii = small >= 'a' && small <= 'z';
    const bool isAlphabetic = character >= 0xC0 && character < 0x2000; ///< signs and dashes follow
    const bool isWide = character >= 0x3041 && character < 0xFE00; ///< kana to ideographs
    return isAscii || isAlphabetic || isWide || character >= 0x20000;
}

bool isAcross(const TesseractRow &row)
{
    return row.at(TesseractRow::Width) >= row.at(TesseractRow::Height);
}

bool isInUpperHalf(const TesseractRow &row, int height)
{
    return 2 * row.at(TesseractRow::Top) + row.at(TesseractRow::Height) < height;
}

bool isSampleUpright(const ReadingQuality &one, const ReadingQuality &other)
{
    return one.characters >= kEnoughCharacters && one.across >= kMost
        && one.confidence >= kSampleReadWell
        && one.confidence >= other.confidence + kSampleFarBetter;
}

} // namespace

ReadingQuality qualityOf(const TesseractTable &table)
{
    ReadingQuality quality;
    double sum = 0;
    int across = 0;
    const TesseractRow *line = nullptr;
    for (const TesseractRow &row : table.rows) {
        if (row.isLine()) {
            line = &row;
            continue;
        }
        const std::u32string text = charactersOf(row.text);
        const int characters = static_cast<int>(text.size());
        quality.characters += characters;
        quality.letters += static_cast<int>(std::count_if(text.begin(), text.end(), isLetter));
        sum += row.confidence * characters;
        const bool hasLine = line != nullptr && line->line() == row.line();
        if (isAcross(hasLine ? *line : row))
            across += characters;
    }
    if (quality.characters > 0) {
        quality.confidence = sum / quality.characters;
        quality.across = static_cast<double>(across) / quality.characters;
    }
    return quality;
}

std::optional<Rotation> turnWorthTrying(const ReadingQuality &asItLies)
{
    if (asItLies.characters < kEnoughCharacters)
        return std::nullopt;
    const bool makesSense = asItLies.confidence >= kReadWell;
    if (asItLies.across >= 0.5)
        return makesSense ? std::nullopt : std::optional(Rotation::Half);
    return makesSense ? Rotation::Left90 : Rotation::Right90;
}

bool isUprightForSure(const ReadingQuality &asItLies, const ReadingQuality &turned)
{
    const bool isReadWell = turned.confidence >= kReadWell && turned.across >= kMost
        && turned.characters >= std::max(kEnoughCharacters, asItLies.characters / 2);
    // lines that ran down made sense already
    const bool wasSideways = asItLies.across <= 1 - kMost;
    const bool isFarBetter = turned.confidence >= asItLies.confidence + kFarBetter
        || (wasSideways && asItLies.confidence >= kReadWell);
    return isReadWell && isFarBetter;
}

std::optional<Rotation> turnOfSample(const TesseractTable &sample)
{
    TesseractTable upper;
    TesseractTable lower;
    for (const TesseractRow &row : sample.rows)
        (isInUpperHalf(row, sample.height) ? upper : lower).rows.push_back(row);
    const ReadingQuality asItLies = qualityOf(upper);
    const ReadingQuality onItsHead = qualityOf(lower);
    if (isSampleUpright(asItLies, onItsHead))
        return Rotation::None;
    if (isSampleUpright(onItsHead, asItLies))
        return Rotation::Half;
    return std::nullopt;
}

bool isReadUpright(const ReadingQuality &page)
{
    return page.characters >= kEnoughCharacters && page.confidence >= kReadWell
        && page.across >= kMost;
}

bool isReadUprightForSure(const ReadingQuality &page)
{
    return isReadUpright(page) && page.confidence >= kReadVeryWell
        && page.letters >= std::max(kEnoughCharacters, page.characters / 2);
}

} // namespace korv
