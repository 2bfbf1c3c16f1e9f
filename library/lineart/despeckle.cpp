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

/// The first black pixel of a row from x on; the row's end when there is none.
int nextBlack(const Image &image, int x, int y)
{
    const std::uint8_t *row = image.row(y);
    const auto length = static_cast<std::size_t>(image.width() - x);
    const void *found = length > 0 ? std::memchr(row + x, 0, length) : nullptr;
    return found != nullptr ? static_cast<int>(static_cast<const std::uint8_t *>(found) - row)
                            : image.width();
}

/// Whether a thing may begin here, row by row: every thing has one such pixel, and few others do.
bool isFirst(const Image &image, int x, int y)
{
    return !isBlack(image, x - 1, y) && !isBlack(image, x - 1, y - 1) && !isBlack(image, x, y - 1)
        && !isBlack(image, x + 1, y - 1);
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

void despeckle(Image &image, int largest)
{
    const auto limit = static_cast<std::size_t>(std::max(0, largest));
    std::vector<Pixel> pixels;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = nextBlack(image, 0, y); x < image.width(); x = nextBlack(image, x + 1, y)) {
            if (!isFirst(image, x, y))
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
