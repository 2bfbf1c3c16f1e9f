#pragma once

#include "library/formats/jbig2/bitmap.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace korv::jbig2 {

/// A shape that looks like another one, and where it has to be moved to lie on it best.
struct Match
{
    std::size_t symbol = 0;
    int right = 0; ///< pixels
    int down = 0;
    bool isSame = false; ///< pixel by pixel, and of the same size
};

/// The symbols so far, and which of them a shape looks like. Nothing is decided by it that a reader
/// could see: what differs from the symbol is coded as well.
class SymbolMatcher
{
public:
    SymbolMatcher();

    /// The symbol that differs in the fewest pixels, if that is a small part of the shape's own.
    std::optional<Match> find(const Bitmap &shape) const;
    /// Adds the next symbol. Only small ones are found again.
    void add(const Bitmap &shape, std::size_t symbol);

private:
    static constexpr int kLargest = 64; ///< pixels a side: a row in a word

    struct Packed
    {
        std::array<std::uint64_t, kLargest> rows = {}; ///< lowest bit on the left
        int width = 0;
        int height = 0;
        int area = 0; ///< black pixels
        int centreX = 0; ///< of their centre, in sixteenths of a pixel
        int centreY = 0;
        std::size_t symbol = 0;
    };

    static std::optional<Packed> pack(const Bitmap &shape);
    static int difference(const Packed &shape, const Packed &symbol, int right, int down, int most);
    static std::size_t slot(int width, int height);

    std::vector<std::vector<Packed>> m_slots; ///< by width and height
};

} // namespace korv::jbig2
