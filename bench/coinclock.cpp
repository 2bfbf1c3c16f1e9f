#include "bench/coinclock.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace coinclock {
namespace {

// as the simulated desk draws it (library/device/simulated/frame_composer.cpp)
constexpr int kRowHeight = 16;
constexpr int kStripFraction = 32;
constexpr double kStepFraction = 150;
constexpr double kRadiusFraction = 0.45;

int stripHeight(QSize frame)
{
    const int rows = (frame.height() + kRowHeight - 1) / kRowHeight;
    const int stripRows = (frame.height() / kStripFraction + 1 + kRowHeight - 1) / kRowHeight;
    return frame.height() - (rows - stripRows) * kRowHeight;
}

double radius(QSize frame)
{
    return kRadiusFraction * stripHeight(frame);
}

double step(QSize frame)
{
    return std::max(2.0, frame.width() / kStepFraction);
}

/// The yellow of the coin's face, through the losses of JPEG.
bool isFace(QRgb colour)
{
    return std::abs(qRed(colour) - 236) < 35 && std::abs(qGreen(colour) - 190) < 35
        && std::abs(qBlue(colour) - 72) < 50;
}

} // namespace

double framesPerRound(QSize frame)
{
    return (frame.width() - 2 * radius(frame)) / step(frame);
}

QRect strip(QSize frame, const QRect &picture)
{
    const int height = std::max(1, picture.height() * stripHeight(frame) / frame.height());
    return {picture.left(), picture.bottom() + 1 - height, picture.width(), height};
}

std::optional<double> placeOf(const QImage &strip, QSize frame, double scale)
{
    constexpr int kFewest = 8;
    double sum = 0;
    int count = 0;
    for (int y = 0; y < strip.height(); ++y) {
        const auto *const row = reinterpret_cast<const QRgb *>(strip.constScanLine(y));
        for (int x = 0; x < strip.width(); ++x) {
            if (isFace(row[x])) {
                sum += x + 0.5;
                ++count;
            }
        }
    }
    if (count < kFewest)
        return std::nullopt;
    return (sum / count / scale - radius(frame)) / step(frame);
}

double ahead(double one, double other, double round)
{
    return std::remainder(one - other, round);
}

} // namespace coinclock
