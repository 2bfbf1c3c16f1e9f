#include "library/formats/jbig2/symbol_matcher.h"

#include <algorithm>
#include <cstdlib>

namespace korv::jbig2 {

namespace {

constexpr int kSixteenths = 16;
/// A speck looks like every other and costs less than the words that say which.
constexpr int kLeastArea = 12;
constexpr int kReach = 2; ///< pixels that a match may be wider, or higher
/// A seventh of the pixels may differ. Where fewer may, the symbols take more than they save.
constexpr int kDifferentShare = 7;
/// As many symbols of one size are found again. Writing hardly has more, and a picture that is none
/// must not take seconds.
constexpr std::size_t kMostInSlot = 32;

/// The nearest whole number of pixels.
int pixelsOf(int sixteenths)
{
    return (sixteenths + kSixteenths / 2 + 64 * kSixteenths) / kSixteenths - 64;
}

int bitsIn(std::uint64_t word)
{
    return __builtin_popcountll(word);
}

/// Moves the pixels of a row to the right.
std::uint64_t movedRow(std::uint64_t row, int right)
{
    return right >= 0 ? row << right : row >> -right;
}

} // namespace

SymbolMatcher::SymbolMatcher()
    : m_slots((kLargest + 1) * (kLargest + 1))
{
}

std::size_t SymbolMatcher::slot(int width, int height)
{
    return static_cast<std::size_t>(height) * (kLargest + 1) + static_cast<std::size_t>(width);
}

std::optional<SymbolMatcher::Packed> SymbolMatcher::pack(const Bitmap &shape)
{
    if (shape.width() > kLargest || shape.height() > kLargest)
        return {};
    Packed packed;
    packed.width = shape.width();
    packed.height = shape.height();
    int sumX = 0;
    int sumY = 0;
    for (int y = 0; y < shape.height(); ++y) {
        const std::uint8_t *row = shape.row(y);
        std::uint64_t word = 0;
        for (int x = 0; x < shape.width(); ++x) {
            word |= std::uint64_t{row[x]} << x;
            sumX += row[x] * x;
        }
        const int black = bitsIn(word);
        packed.rows[static_cast<std::size_t>(y)] = word;
        packed.area += black;
        sumY += black * y;
    }
    if (packed.area < kLeastArea)
        return {};
    packed.centreX = sumX * kSixteenths / packed.area;
    packed.centreY = sumY * kSixteenths / packed.area;
    return packed;
}

/// How many pixels differ, or some number over `most`.
int SymbolMatcher::difference(const Packed &shape, const Packed &symbol, int right, int down,
                              int most)
{
    int sum = 0;
    const int first = std::min(0, down);
    const int end = std::max(shape.height, symbol.height + down);
    for (int y = first; y < end && sum <= most; ++y) {
        const bool isInShape = y >= 0 && y < shape.height;
        const bool isInSymbol = y >= down && y < symbol.height + down;
        const std::uint64_t one = isInShape ? shape.rows[static_cast<std::size_t>(y)] : 0;
        const std::uint64_t other =
            isInSymbol ? movedRow(symbol.rows[static_cast<std::size_t>(y - down)], right) : 0;
        sum += bitsIn(one ^ other);
    }
    return sum;
}

std::optional<Match> SymbolMatcher::find(const Bitmap &shape) const
{
    const std::optional<Packed> packed = pack(shape);
    if (!packed)
        return {};
    std::optional<Match> best;
    int fewest = packed->area / kDifferentShare + 1;
    for (int height = std::max(1, packed->height - kReach);
         height <= std::min(kLargest, packed->height + kReach); ++height) {
        for (int width = std::max(1, packed->width - kReach);
             width <= std::min(kLargest, packed->width + kReach); ++width) {
            for (const Packed &symbol : m_slots[slot(width, height)]) {
                if (std::abs(symbol.area - packed->area) >= fewest)
                    continue;
                const int right = pixelsOf(packed->centreX - symbol.centreX);
                const int down = pixelsOf(packed->centreY - symbol.centreY);
                const int differs = difference(*packed, symbol, right, down, fewest - 1);
                if (differs >= fewest)
                    continue;
                fewest = differs;
                best = Match{symbol.symbol, right, down,
                             differs == 0 && width == packed->width && height == packed->height};
            }
        }
    }
    return best;
}

void SymbolMatcher::add(const Bitmap &shape, std::size_t symbol)
{
    std::optional<Packed> packed = pack(shape);
    if (!packed)
        return;
    std::vector<Packed> &others = m_slots[slot(packed->width, packed->height)];
    if (others.size() == kMostInSlot)
        return;
    packed->symbol = symbol;
    others.push_back(*packed);
}

} // namespace korv::jbig2
