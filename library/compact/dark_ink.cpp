#include "library/compact/dark_ink.h"

#include "library/image/colour.h"
#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"
#include "library/lineart/despeckle.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace korv::compact {

namespace {

constexpr int kBackgroundSide = 400; ///< long side of the picture in which paper is estimated
constexpr int kBackgroundReach = 9; ///< wider than a stroke, in pixels of that picture
constexpr int kRowsAtOnce = 256; ///< bounds the memory of the float pictures

// J. Sauvola, M. Pietikäinen: Adaptive document image binarization (2000), equation 5
constexpr float kSauvolaWeight = 0.28F;
constexpr float kSauvolaRange = 128.0F;

// evenly dark areas have no contrast of their own; ink this dark is ink
constexpr std::uint8_t kSurelyInk = 70;

/// Brightness of the blank paper at every place, in a small picture.
cv::Mat paperBrightness(const cv::Mat &gray)
{
    const double scale = std::min(1.0, double{kBackgroundSide} / std::max(gray.cols, gray.rows));
    cv::Mat small;
    cv::resize(gray, small, cv::Size(), scale, scale, cv::INTER_AREA);
    const cv::Mat reach =
        cv::getStructuringElement(cv::MORPH_RECT, cv::Size(kBackgroundReach, kBackgroundReach));
    cv::morphologyEx(small, small, cv::MORPH_CLOSE, reach);
    cv::blur(small, small, cv::Size(kBackgroundReach, kBackgroundReach));
    return small;
}

/// Divides by the paper's brightness, so that blank paper becomes white everywhere.
void evenOut(cv::Mat &gray)
{
    const cv::Mat small = paperBrightness(gray);
    cv::Mat paper;
    cv::resize(small, paper, gray.size(), 0, 0, cv::INTER_LINEAR);
    cv::max(paper, 1, paper);
    cv::divide(gray, paper, gray, 255);
}

int windowFor(const cv::Mat &gray)
{
    // about 7 mm on an A4 sheet: several strokes, not several lines
    return std::max(15, std::max(gray.cols, gray.rows) / 42) | 1;
}

void thresholdRows(const cv::Mat &even, int from, int to, int window, Image &result)
{
    const cv::Mat band = even.rowRange(from, to); // the filters look beyond the band by themselves
    cv::Mat mean;
    cv::Mat square;
    cv::boxFilter(band, mean, CV_32F, cv::Size(window, window));
    cv::sqrBoxFilter(band, square, CV_32F, cv::Size(window, window));
    for (int y = 0; y < band.rows; ++y) {
        const std::uint8_t *in = band.ptr<std::uint8_t>(y);
        const float *means = mean.ptr<float>(y);
        const float *squares = square.ptr<float>(y);
        std::uint8_t *out = result.row(from + y);
        for (int x = 0; x < band.cols; ++x) {
            const float deviation = std::sqrt(std::max(0.0F, squares[x] - means[x] * means[x]));
            const float limit = means[x] * (1 + kSauvolaWeight * (deviation / kSauvolaRange - 1));
            out[x] = static_cast<float>(in[x]) < limit || in[x] < kSurelyInk ? 0 : 255;
        }
    }
}

} // namespace

Image darkInk(const Image &page)
{
    Image gray = toGray(page);
    if (gray.isBilevel())
        return gray;
    keepOpenCvInThisThread();
    cv::Mat even = matView(gray);
    evenOut(even);
    Image result(gray.width(), gray.height(), PixelFormat::Gray8);
    const int window = windowFor(even);
    for (int from = 0; from < even.rows; from += kRowsAtOnce)
        thresholdRows(even, from, std::min(from + kRowsAtOnce, even.rows), window, result);
    despeckle(result, largestSpeck(result));
    result.setResolution(gray.resolution());
    result.setBilevel(true);
    return result;
}

} // namespace korv::compact
