#include "tests/fuzz/drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace fuzz {

namespace {

using korv::Image;
using korv::Quadrilateral;
using Point = Quadrilateral::Point;

constexpr int kMaxShapes = 12;

struct Colour
{
    std::array<std::uint8_t, 3> channels;
};

Colour colourFrom(Input &input)
{
    // most sheets and desks are nearly gray
    const std::uint8_t base = input.byte();
    if (base % 2 == 0)
        return {{base, base, base}};
    return {{base, input.byte(), input.byte()}};
}

void paint(Image &image, int x, int y, const Colour &colour)
{
    const int channels = image.channels();
    std::uint8_t *pixel = image.row(y) + x * channels;
    std::copy(colour.channels.begin(), colour.channels.begin() + channels, pixel);
}

/// Paints the pixels for which `isInside(x, y)` holds.
template <typename Predicate> void fill(Image &image, const Colour &colour, Predicate isInside)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isInside(x, y))
                paint(image, x, y, colour);
        }
    }
}

Point pointFrom(Input &input, const Image &image)
{
    // a little outside is possible: sheets may be cut off by the frame
    const double x = input.byte() / 255.0 * 1.2 - 0.1;
    const double y = input.byte() / 255.0 * 1.2 - 0.1;
    return {x * image.width(), y * image.height()};
}

void drawQuadrilateral(Image &image, Input &input)
{
    const Colour colour = colourFrom(input);
    std::array<Point, 4> corners;
    for (Point &corner : corners)
        corner = pointFrom(input, image);
    fill(image, colour, [&](int x, int y) {
        bool inside = false; // even-odd rule, so bow ties are drawn too
        for (std::size_t i = 0; i < 4; ++i) {
            const Point &a = corners[i];
            const Point &b = corners[(i + 1) % 4];
            if ((a.y > y) != (b.y > y) && x < (b.x - a.x) * (y - a.y) / (b.y - a.y) + a.x)
                inside = !inside;
        }
        return inside;
    });
}

void drawDisc(Image &image, Input &input)
{
    const Colour colour = colourFrom(input);
    const Point centre = pointFrom(input, image);
    const double radius = input.byte();
    fill(image, colour,
         [&](int x, int y) { return std::hypot(x - centre.x, y - centre.y) < radius; });
}

void drawStripes(Image &image, Input &input)
{
    const Colour colour = colourFrom(input);
    const double angle = input.byte() / 255.0 * 3.2;
    const double distance = 2 + input.byte();
    const double thickness = 1 + input.byte() % 8;
    const double across = std::cos(angle);
    const double down = std::sin(angle);
    fill(image, colour, [&](int x, int y) {
        return std::fmod(1000 * distance + x * across + y * down, distance) < thickness;
    });
}

void drawNoise(Image &image, Input &input)
{
    std::mt19937 random(input.byte());
    const int strength = 1 + input.byte() / 2;
    const std::size_t count = image.stride() * static_cast<std::size_t>(image.height());
    for (std::size_t i = 0; i < count; ++i) {
        const int noise = static_cast<int>(random() % static_cast<unsigned>(2 * strength + 1));
        image.pixels()[i] =
            static_cast<std::uint8_t>(std::clamp(image.pixels()[i] + noise - strength, 0, 255));
    }
}

/// What is left of the input as pixels, which finds what no shape would.
void drawBytes(Image &image, Input &input)
{
    const std::size_t count = image.stride() * static_cast<std::size_t>(image.height());
    for (std::size_t i = 0; i < count && input.left() > 0; ++i)
        image.pixels()[i] = input.byte();
}

double turnAt(const Point &a, const Point &b, const Point &c)
{
    return (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
}

bool isUsable(const Quadrilateral &sheet)
{
    for (std::size_t i = 0; i < 4; ++i) {
        const Point &a = sheet.corners[i];
        const Point &b = sheet.corners[(i + 1) % 4];
        if (std::hypot(b.x - a.x, b.y - a.y) < 2 || turnAt(a, b, sheet.corners[(i + 2) % 4]) < 4)
            return false;
    }
    return true;
}

} // namespace

korv::Image drawnImage(Input &input)
{
    const auto format =
        input.between(0, 3) == 0 ? korv::PixelFormat::Gray8 : korv::PixelFormat::Rgb24;
    const int width = input.between(1, 220);
    const int height = input.between(1, 220);
    Image image(width, height, format);
    fill(image, colourFrom(input), [](int, int) { return true; });
    for (int i = 0; i < kMaxShapes && input.left() > 0; ++i) {
        switch (input.between(0, 9)) {
        case 0:
            drawDisc(image, input);
            break;
        case 1:
            drawStripes(image, input);
            break;
        case 2:
            drawNoise(image, input);
            break;
        case 3:
            drawBytes(image, input);
            break;
        default:
            drawQuadrilateral(image, input);
            break;
        }
    }
    return image;
}

korv::Quadrilateral convexQuadrilateral(Input &input, const korv::Image &image)
{
    Quadrilateral sheet;
    for (Point &corner : sheet.corners)
        corner = pointFrom(input, image);
    if (isUsable(sheet))
        return sheet;
    const double right = std::max(2, image.width());
    const double bottom = std::max(2, image.height());
    return {{{{0, 0}, {right, 0}, {right, bottom}, {0, bottom}}}};
}

} // namespace fuzz
