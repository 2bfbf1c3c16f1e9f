#include "library/formats/jbig2/bitmap_coder.h"

#include <algorithm>

namespace korv::jbig2 {

template <typename Coder> void codeBitmap(Coder &coder, Contexts &contexts, Bitmap &bitmap)
{
    for (int y = 0; y < bitmap.height(); ++y) {
        const std::uint8_t *upper = bitmap.row(y - 2);
        const std::uint8_t *above = bitmap.row(y - 1);
        std::uint8_t *row = bitmap.row(y);
        // 5 pixels of the upper row, 7 of the one above, 4 of this one
        unsigned fromUpper = unsigned{upper[0]} << 1 | upper[1];
        unsigned fromAbove = unsigned{above[0]} << 2 | unsigned{above[1]} << 1 | above[2];
        unsigned before = 0;
        for (int x = 0; x < bitmap.width(); ++x) {
            fromUpper = (fromUpper << 1 | upper[x + 2]) & 0x1F;
            fromAbove = (fromAbove << 1 | above[x + 3]) & 0x7F;
            const unsigned bit =
                coder.code(contexts[fromUpper << 11 | fromAbove << 4 | before], row[x]);
            row[x] = static_cast<std::uint8_t>(bit);
            before = (before << 1 | bit) & 0xF;
        }
    }
}

template <typename Coder>
void codeRefinement(Coder &coder, Contexts &contexts, const Bitmap &reference, Bitmap &bitmap)
{
    for (int y = 0; y < bitmap.height(); ++y) {
        const std::uint8_t *above = bitmap.row(y - 1);
        std::uint8_t *row = bitmap.row(y);
        const std::uint8_t *around[] = {reference.row(y - 1), reference.row(y),
                                        reference.row(y + 1)};
        unsigned first = unsigned{around[0][-1]} << 1 | around[0][0];
        unsigned second = unsigned{around[1][-1]} << 1 | around[1][0];
        unsigned third = unsigned{around[2][-1]} << 1 | around[2][0];
        unsigned fromAbove = above[0];
        unsigned before = 0;
        for (int x = 0; x < bitmap.width(); ++x) {
            first = (first << 1 | around[0][x + 1]) & 7;
            second = (second << 1 | around[1][x + 1]) & 7;
            third = (third << 1 | around[2][x + 1]) & 7;
            fromAbove = (fromAbove << 1 | above[x + 1]) & 7;
            const unsigned context =
                first << 10 | second << 7 | third << 4 | fromAbove << 1 | before;
            before = coder.code(contexts[context], row[x]);
            row[x] = static_cast<std::uint8_t>(before);
        }
    }
}

template void codeBitmap(ArithmeticEncoder &, Contexts &, Bitmap &);
template void codeBitmap(ArithmeticDecoder &, Contexts &, Bitmap &);
template void codeRefinement(ArithmeticEncoder &, Contexts &, const Bitmap &, Bitmap &);
template void codeRefinement(ArithmeticDecoder &, Contexts &, const Bitmap &, Bitmap &);

Bitmap moved(const Bitmap &shape, int right, int down, int width, int height)
{
    Bitmap result(width, height);
    const int first = std::max(-1, right);
    const int end = std::min(width + 1, shape.width() + right);
    const int last = std::min(height + 1, shape.height() + down);
    if (first >= end)
        return result;
    for (int y = std::max(-1, down); y < last; ++y) {
        const std::uint8_t *from = shape.row(y - down) - right;
        std::copy(from + first, from + end, result.row(y) + first);
    }
    return result;
}

} // namespace korv::jbig2
