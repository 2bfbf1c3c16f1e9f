#include "tests/library/support/desk.h"

#include <algorithm>
#include <cmath>

namespace desk {

using namespace korv;

namespace {

/// How far a point lies inside, in pixels; negative outside.
double depthIn(const Corners &corners, double x, double y)
{
    double least = 1e9;
    for (std::size_t i = 0; i < 4; ++i) {
        const auto &a = corners[i];
        const auto &b = corners[(i + 1) % 4];
        const double cross = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
        least = std::min(least, cross / std::hypot(b.x - a.x, b.y - a.y));
    }
    return least;
}

double surfaceAt(const Scene &scene, int x, int y)
{
    switch (scene.surface) {
    case Surface::Grain:
        return 1 + 0.05 * std::sin(y * 0.31 + 2 * std::sin(x * 0.011)) + 0.03 * std::sin(y * 0.83);
    case Surface::Checks:
        return (x / 45 + y / 45) % 2 == 0 ? 1.0 : 0.55;
    case Surface::Plain:
        break;
    }
    return 1;
}

double lightAt(const Scene &scene, int x, int y)
{
    const double fall = 1 - scene.lightFall * x / scene.width;
    const double across = std::abs(x + 0.7 * y - 0.8 * scene.width) / (0.1 * scene.width);
    const double dark = std::clamp(4 * (1 - across), 0.0, 1.0);
    return fall * (1 - scene.shadow * dark);
}

bool isInk(const Sheet &sheet, int x, int y, double depth)
{
    return sheet.written && depth > 24 && y % 24 < 4 && x % 20 < 13;
}

void mix(std::array<double, 3> &pixel, const Colour &colour, double factor, double share)
{
    for (std::size_t i = 0; i < 3; ++i)
        pixel[i] += (colour[i] * factor - pixel[i]) * share;
}

} // namespace

Image draw(const Scene &scene)
{
    Image image(scene.width, scene.height, PixelFormat::Rgb24);
    std::uint32_t state = 5;
    for (int y = 0; y < scene.height; ++y) {
        for (int x = 0; x < scene.width; ++x) {
            std::array<double, 3> pixel{};
            mix(pixel, scene.colour, surfaceAt(scene, x, y), 1);
            for (const Sheet &sheet : scene.sheets) {
                const double depth = depthIn(sheet.corners, x, y);
                if (depth > -6 && !sheet.printed) // its shadow
                    mix(pixel, {0, 0, 0}, 1, 0.25 * std::clamp(1 + depth / 6, 0.0, 1.0));
                const double factor = isInk(sheet, x, y, depth) ? 0.25 : 1;
                mix(pixel, sheet.paper, factor, std::clamp(depth + 0.5, 0.0, 1.0));
            }
            for (const Disc &disc : scene.discs) {
                const double depth = disc.radius - std::hypot(x - disc.x, y - disc.y);
                mix(pixel, disc.colour, 1, std::clamp(depth + 0.5, 0.0, 1.0));
            }
            const double light = lightAt(scene, x, y);
            for (std::size_t i = 0; i < 3; ++i) {
                state = state * 1664525U + 1013904223U;
                const int grain = static_cast<int>(state >> 30) - 2;
                image.row(y)[3 * x + static_cast<int>(i)] =
                    static_cast<std::uint8_t>(std::clamp(pixel[i] * light + grain, 0.0, 255.0));
            }
        }
    }
    return image;
}

} // namespace desk
