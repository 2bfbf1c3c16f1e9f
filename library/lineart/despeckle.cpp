#include "library/lineart/despeckle.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace korv {

namespace {

struct Pixel
{
    int x = 0;
    int y = 0;
};

bool operator==(const Pixel &a, const Pixel &b)
{
    return a.x == b.x && a.y == b.y;
}

bool isBlack(const Image &image, int x, int y)
{
    return x >= 0 && y >= 0 && x < image.width() && y < image.height() && image.row(y)[x] == 0;
}

/// The first pixel of a row from x on, and before `end`, that has the level; `end` when there is none.
int find(const Image &image, std::uint8_t level, int x, int end, int y)
{
    const std::uint8_t *row = image.row(y);
    const void *found =
        x < end ? std::memchr(row + x, level, static_cast<std::size_t>(end - x)) : nullptr;
    return found != nullptr ? static_cast<int>(static_cast<const std::uint8_t *>(found) - row)
                            : end;
}

int nextBlack(const Image &image, int x, int y)
{
    return find(image, 0, x, image.width(), y);
}

int nextWhite(const Image &image, int x, int y)
{
    return find(image, 255, x, image.width(), y);
}

/// Whether a thing may begin with the black pixels from x up to `end`, row by row: nothing above
/// touches them. Every thing has one such run, and few other runs are like that.
bool isFirst(const Image &image, int x, int end, int y)
{
    if (y == 0)
        return true;
    const int last = std::min(end + 1, image.width());
    return find(image, 0, std::max(0, x - 1), last, y - 1) == last;
}

/// The pixels that hang together with the first one; stops at more than `largest`.
void collect(const Image &image, std::size_t largest, std::vector<Pixel> &pixels)
{
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        for (int y = pixels[i].y - 1; y <= pixels[i].y + 1; ++y) {
            for (int x = pixels[i].x - 1; x <= pixels[i].x + 1; ++x) {
                const Pixel pixel{x, y};
                if (!isBlack(image, x, y)
                    || std::find(pixels.begin(), pixels.end(), pixel) != pixels.end())
                    continue;
                pixels.push_back(pixel);
                if (pixels.size() > largest)
                    return;
            }
        }
    }
}

} // namespace

int largestSpeck(const Image &image)
{
    const double fineness = std::max(image.width(), image.height()) / 1600.0;
    return std::clamp(static_cast<int>(2 * fineness * fineness), 1, 20);
}

void despeckle(Image &image, int largest)
{
    const auto limit = static_cast<std::size_t>(std::max(0, largest));
    std::vector<Pixel> pixels;
    for (int y = 0; y < image.height(); ++y) {
        int end = 0;
        for (int x = nextBlack(image, 0, y); x < image.width(); x = nextBlack(image, end, y)) {
            end = nextWhite(image, x, y);
            if (end - x > largest || !isFirst(image, x, end, y))
                continue;
            pixels.assign(1, {x, y});
            collect(image, limit, pixels);
            if (pixels.size() > limit)
                continue;
            for (const Pixel &pixel : pixels)
                image.row(pixel.y)[pixel.x] = 255;
        }
    }
}

} // namespace korv
