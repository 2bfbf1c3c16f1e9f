#include "tests/library/support/lying_page.h"

#include <algorithm>
#include <array>

namespace testing_support {

namespace {

// from the upper left corner clockwise
constexpr std::array<int, 4> kCorners = {40, 100, 160, 220};
constexpr int kPaper = 245;

} // namespace

korv::Image cornerPage(int width, int height, korv::PixelFormat format)
{
    korv::Image page(width, height, format);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool isMiddle = std::min({x, y, width - 1 - x, height - 1 - y}) >= 16;
            const bool isRight = x >= width / 2;
            const std::size_t corner = y < height / 2 ? (isRight ? 1 : 0) : (isRight ? 2 : 3);
            const auto level = static_cast<std::uint8_t>(isMiddle ? kPaper : kCorners[corner]);
            std::fill_n(page.row(y) + x * page.channels(), page.channels(), level);
        }
    }
    return page;
}

std::string commandsThatReadCornerPages(int confidence, const std::string &writing)
{
    return "read depth; corner=$(od -An -tu1 -N1)\n"
           "sure=20; lines=across\n"
           "if [ $corner -lt 70 ]; then sure="
        + std::to_string(confidence)
        + "\nelif [ $corner -lt 130 ]; then lines=down\n"
          "elif [ $corner -ge 190 ]; then lines=down; sure="
        + std::to_string(confidence) + R"sh(
fi
if [ $lines = across ]; then box="4\t8\t$((width - 8))\t10"; else box="8\t4\t10\t$((height - 8))"; fi
printf 'level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth\theight\tconf\ttext\n'
printf "1\t1\t0\t0\t0\t0\t0\t0\t$width\t$height\t-1\t\n"
printf "4\t1\t1\t1\t1\t0\t$box\t-1\t\n"
printf "5\t1\t1\t1\t1\t1\t$box\t$sure\t)sh"
        + writing + R"sh(\n"
exit 0
)sh";
}

} // namespace testing_support
