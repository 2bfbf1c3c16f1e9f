#include "tests/library/support/typed_page.h"

#include "library/device/simulated/drawing/paper.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

using korv::Image;
using korv::Paper;
using korv::PixelFormat;

namespace testing_support {
namespace {

std::vector<double> weightsOf(double deviation)
{
    const int reach = static_cast<int>(std::ceil(3 * deviation));
    std::vector<double> weights;
    double sum = 0;
    for (int at = -reach; at <= reach; ++at) {
        weights.push_back(std::exp(-0.5 * at * at / (deviation * deviation)));
        sum += weights.back();
    }
    for (double &weight : weights)
        weight /= sum;
    return weights;
}

Image blurredAlong(const Image &image, const std::vector<double> &weights, bool columns)
{
    Image result(image.width(), image.height(), PixelFormat::Gray8);
    const int reach = static_cast<int>(weights.size()) / 2;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            double sum = 0;
            for (int at = -reach; at <= reach; ++at) {
                const int nearX = std::clamp(x + (columns ? 0 : at), 0, image.width() - 1);
                const int nearY = std::clamp(y + (columns ? at : 0), 0, image.height() - 1);
                sum += weights[static_cast<std::size_t>(at + reach)] * image.row(nearY)[nearX];
            }
            result.row(y)[x] = static_cast<std::uint8_t>(std::lround(sum));
        }
    }
    return result;
}

} // namespace

Image typed(int size)
{
    constexpr double kUnit = 1000.0 / kTypedWidth; // the paper's are thousandths of the width
    Paper paper(kTypedWidth, kTypedHeight);
    for (int y = 120; y + 60 < kTypedHeight; y += 3 * size)
        paper.text(80, y * kUnit, size * kUnit,
                   "Total of the measured values, invoice number 2048 paid at once", Paper::kInk,
                   Paper::Face::Plain);
    Image gray(kTypedWidth, kTypedHeight, PixelFormat::Gray8);
    for (int y = 0; y < kTypedHeight; ++y) {
        for (int x = 0; x < kTypedWidth; ++x)
            gray.row(y)[x] = paper.image().row(y)[3 * x + 1];
    }
    return gray;
}

Image blurred(const Image &image, double deviation)
{
    const std::vector<double> weights = weightsOf(deviation);
    return blurredAlong(blurredAlong(image, weights, false), weights, true);
}

Image linesOfType()
{
    const Image page = typed(30);
    Image lines(page.width(), page.height() / 5, page.format());
    std::copy_n(page.pixels(), lines.stride() * static_cast<std::size_t>(lines.height()),
                lines.pixels());
    return lines;
}

} // namespace testing_support
