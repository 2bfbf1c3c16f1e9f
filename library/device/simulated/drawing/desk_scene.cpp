#include "library/device/simulated/drawing/desk_scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace korv {
namespace {

using Colour = std::array<int, 3>;
constexpr Colour kWood{112, 78, 52};
constexpr Colour kGrain{26, 20, 14}; ///< what the darkest line of the grain takes away

/// A repeatable scatter of bits: the desk must look the same in every frame and every run.
std::uint32_t scattered(std::uint32_t value)
{
    value ^= value >> 16;
    value *= 0x7FEB352DU;
    value ^= value >> 15;
    value *= 0x846CA68BU;
    return value ^ (value >> 16);
}

/// Strength of the grain, 0..255, along a line across the wood.
std::vector<int> grainLines(int count, int wavelength)
{
    std::vector<int> lines(static_cast<std::size_t>(count));
    for (int at = 0; at < count; ++at) {
        const int knot = at / wavelength;
        const double part = static_cast<double>(at % wavelength) / wavelength;
        const double from = scattered(static_cast<std::uint32_t>(knot)) & 0xFF;
        const double to = scattered(static_cast<std::uint32_t>(knot) + 1) & 0xFF;
        lines[static_cast<std::size_t>(at)] = static_cast<int>(from + (to - from) * part);
    }
    return lines;
}

/// How bright the lamp is along one axis, in 1/256.
std::vector<int> lamp(int length)
{
    std::vector<int> light(static_cast<std::size_t>(length));
    for (int at = 0; at < length; ++at) {
        const double offCentre = 2.0 * at / length - 1.0;
        light[static_cast<std::size_t>(at)] =
            static_cast<int>(256 * (1.0 - 0.16 * offCentre * offCentre));
    }
    return light;
}

std::uint8_t toByte(int value)
{
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

/// Maps desk pixels into the sheet.
struct SheetFrame
{
    double cosine = 1;
    double sine = 0;
    double originX = 0;
    double originY = 0;

    SheetFrame(const Image &sheet, const SheetPlace &place)
        : cosine(std::cos(place.degrees * M_PI / 180))
        , sine(std::sin(place.degrees * M_PI / 180))
        , originX(sheet.width() / 2.0 - place.centreX * cosine - place.centreY * sine)
        , originY(sheet.height() / 2.0 + place.centreX * sine - place.centreY * cosine)
    {
    }

    double u(double x, double y) const { return originX + x * cosine + y * sine; }
    double v(double x, double y) const { return originY - x * sine + y * cosine; }
};

double beyond(double at, double length)
{
    return at < 0 ? -at : std::max(0.0, at - length);
}

/// Darkens a desk pixel near the sheet, `reach` pixels far.
void shade(std::uint8_t *pixel, double distance, double reach)
{
    if (distance >= reach)
        return;
    const double part = 1.0 - distance / reach;
    const int keep = static_cast<int>(256 * (1.0 - 0.55 * part * part));
    for (int channel = 0; channel < 3; ++channel)
        pixel[channel] = static_cast<std::uint8_t>(pixel[channel] * keep >> 8);
}

/// Mixes the sheet's colour at (u, v) into a pixel; at the very edge only as far as it is covered.
void cover(std::uint8_t *pixel, const Image &sheet, double u, double v)
{
    const double inside = std::min({u, v, sheet.width() - u, sheet.height() - v}) + 0.5;
    const int opacity = static_cast<int>(256 * std::clamp(inside, 0.0, 1.0));
    const double left = std::clamp(u - 0.5, 0.0, sheet.width() - 1.001);
    const double top = std::clamp(v - 0.5, 0.0, sheet.height() - 1.001);
    const int x = static_cast<int>(left);
    const int y = static_cast<int>(top);
    const int partX = static_cast<int>((left - x) * 256);
    const int partY = static_cast<int>((top - y) * 256);
    const std::uint8_t *upper = sheet.row(y) + std::ptrdiff_t{x} * 3;
    const std::uint8_t *lower =
        sheet.row(std::min(y + 1, sheet.height() - 1)) + std::ptrdiff_t{x} * 3;
    for (int channel = 0; channel < 3; ++channel) {
        const int above = upper[channel] * (256 - partX) + upper[channel + 3] * partX;
        const int below = lower[channel] * (256 - partX) + lower[channel + 3] * partX;
        const int colour = (above * (256 - partY) + below * partY) >> 16;
        pixel[channel] =
            static_cast<std::uint8_t>((colour * opacity + pixel[channel] * (256 - opacity)) >> 8);
    }
}

} // namespace

Image drawDesk(int width, int height)
{
    Image desk(width, height, PixelFormat::Rgb24);
    const int finest = std::max(1, height / 400);
    const std::vector<int> coarse = grainLines(height + width / 8, finest * 9);
    const std::vector<int> fine = grainLines(height + width / 8, finest * 2);
    const std::vector<int> lampX = lamp(width);
    const std::vector<int> lampY = lamp(height);
    std::vector<int> bend(static_cast<std::size_t>(width)); // the grain is not quite straight
    for (int x = 0; x < width; ++x)
        bend[static_cast<std::size_t>(x)] =
            static_cast<int>(width / 20.0 * (1 + std::sin(3.0 * x / width)));

    for (int y = 0; y < height; ++y) {
        std::uint8_t *pixel = desk.row(y);
        std::uint32_t noise = scattered(static_cast<std::uint32_t>(y) + 1) | 1U;
        for (int x = 0; x < width; ++x, pixel += 3) {
            const auto column = static_cast<std::size_t>(x);
            const auto line = static_cast<std::size_t>(y + bend[column]);
            noise = noise * 1664525U + 1013904223U;
            const int dark = (coarse[line] * 3 + fine[line]) / 4;
            const int grit = static_cast<int>(noise >> 30);
            const int light = lampX[column] * lampY[static_cast<std::size_t>(y)] >> 8;
            for (std::size_t channel = 0; channel < 3; ++channel)
                pixel[channel] =
                    toByte(((kWood[channel] - (kGrain[channel] * dark >> 8) + grit) * light) >> 8);
        }
    }
    return desk;
}

void laySheet(Image &desk, const Image &sheet, const SheetPlace &place)
{
    const SheetFrame frame(sheet, place);
    const double reach = std::max(2.0, desk.height() / 60.0);
    const double away = reach / 3; // the lamp stands to the upper left
    for (int y = 0; y < desk.height(); ++y) {
        std::uint8_t *pixel = desk.row(y);
        for (int x = 0; x < desk.width(); ++x, pixel += 3) {
            const double u = frame.u(x + 0.5, y + 0.5);
            const double v = frame.v(x + 0.5, y + 0.5);
            const double width = sheet.width();
            const double height = sheet.height();
            if (u > -0.5 && v > -0.5 && u < width + 0.5 && v < height + 0.5)
                cover(pixel, sheet, u, v);
            else if (u > -reach && v > -reach && u < width + 2 * reach && v < height + 2 * reach)
                shade(pixel, std::hypot(beyond(u - away, width), beyond(v - away, height)), reach);
        }
    }
}

void layFlat(Image &desk, const Image &picture)
{
    const int width = std::min(desk.width(), picture.width());
    const int height = std::min(desk.height(), picture.height());
    const int left = (desk.width() - width) / 2;
    const int top = (desk.height() - height) / 2;
    const int channels = picture.channels();
    for (int y = 0; y < height; ++y) {
        const std::uint8_t *from = picture.row(y);
        std::uint8_t *to = desk.row(top + y) + std::ptrdiff_t{left} * 3;
        for (int x = 0; x < width; ++x, from += channels, to += 3) {
            to[0] = from[0];
            to[1] = from[channels == 3 ? 1 : 0];
            to[2] = from[channels == 3 ? 2 : 0];
        }
    }
}

} // namespace korv
