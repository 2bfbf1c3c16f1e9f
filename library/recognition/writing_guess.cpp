#include "library/recognition/writing_guess.h"

#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

/// Smaller pictures say too little about gaps between lines.
constexpr int kLeastLongSide = 400;

/// Long side of the picture that is looked at: a pixel is 0.4 mm on an A4 sheet.
constexpr int kLongSide = 700;

// in its pixels
constexpr int kLetterReach = 15; ///< there is paper within it
constexpr double kPaperSoftening = 8;
constexpr double kBand = 140; ///< short enough that lines a degree askew stay apart
constexpr double kStroke = 1.5; ///< standard deviations: finer is a stroke, coarser a paragraph
constexpr double kParagraph = 8;
constexpr int kLeastLine = 2;
constexpr int kMargin = 6; ///< the most that is kept above the first line and below the last

constexpr double kNoise = 0.12; ///< darker than the paper by this share is ink
constexpr double kBlack = 0.5; ///< beyond, ink counts the same

/// Pages of type have 8 times as much energy along their lines' normal as along the lines.
constexpr double kClearly = 3;

/// How far the ink's centre is towards the beginning of the lines, in halves of their length. Pages of
/// type have 0.03 to 0.14.
constexpr double kFlush = 0.015;
constexpr double kClearlyFlush = 0.025;

constexpr int kSampleLines = 3;
constexpr double kSampleWidth = 0.25; ///< of the picture's

struct Ink
{
    cv::Mat shares; ///< CV_32FC1: 0 paper, up to kBlack
    int factor = 1; ///< by which it is smaller than the picture
};

Ink inkOf(const Image &gray)
{
    keepOpenCvInThisThread();
    Ink ink;
    const double longSide = std::max(gray.width(), gray.height());
    ink.factor = std::max(1, static_cast<int>(std::lround(longSide / kLongSide)));
    const cv::Size size(gray.width() / ink.factor, gray.height() / ink.factor);
    if (size.empty())
        return ink;
    const cv::Mat whole =
        matView(gray)(cv::Rect(0, 0, size.width * ink.factor, size.height * ink.factor));
    cv::Mat small;
    cv::resize(whole, small, size, 0, 0, cv::INTER_AREA);
    cv::Mat paper;
    cv::dilate(small, paper,
               cv::getStructuringElement(cv::MORPH_RECT, cv::Size(kLetterReach, kLetterReach)));
    paper.convertTo(paper, CV_32F);
    cv::GaussianBlur(paper, paper, cv::Size(), kPaperSoftening);
    small.convertTo(small, CV_32F);
    cv::divide(small, cv::max(paper, 1), small);
    cv::subtract(1, small, ink.shares);
    cv::threshold(ink.shares, ink.shares, kNoise, 0, cv::THRESH_TOZERO);
    cv::min(ink.shares, kBlack, ink.shares);
    // what a crop left of the desk is no writing
    const int edge = std::max(1, std::min(size.width, size.height) / 50);
    cv::rectangle(ink.shares, cv::Rect(cv::Point(), size), cv::Scalar(0), 2 * edge - 1);
    return ink;
}

/// The sum of each row, softened; a column.
cv::Mat rowSums(const cv::Mat &ink, double softening)
{
    cv::Mat sums;
    cv::reduce(ink, sums, 1, cv::REDUCE_SUM, CV_32F);
    const int reach = 2 * cvCeil(3 * softening) + 1;
    cv::GaussianBlur(sums, sums, cv::Size(1, reach), 1, softening);
    return sums;
}

/// How much lines that run across make the rows differ.
double energyOfLines(const cv::Mat &ink)
{
    const int bands = std::max(1, cvRound(ink.cols / kBand));
    double energy = 0;
    for (int band = 0; band < bands; ++band) {
        const cv::Mat part = ink.colRange(ink.cols * band / bands, ink.cols * (band + 1) / bands);
        energy += cv::norm(rowSums(part, kStroke), rowSums(part, kParagraph), cv::NORM_L2SQR);
    }
    return energy;
}

/// How far the ink's centre is left of the middle between the margins, in halves of that distance.
double flushLeft(const cv::Mat &ink)
{
    const cv::Mat sums = rowSums(ink.t(), kStroke);
    const cv::Mat isInk = sums > cv::mean(sums)[0] / 4;
    int left = 0;
    int right = sums.rows - 1;
    while (left < right && isInk.at<std::uint8_t>(left) == 0)
        ++left;
    while (left < right && isInk.at<std::uint8_t>(right) == 0)
        --right;
    const double half = (right - left) / 2.0;
    double moment = 0;
    double total = 0;
    for (int x = left; x <= right; ++x) {
        const double sum = sums.at<float>(x);
        moment += (left + half - x) * sum;
        total += sum;
    }
    return half > 0 && total > 0 ? moment / (half * total) : 0;
}

/// Rows from the first to the one behind the last.
std::vector<cv::Range> linesOf(const cv::Mat &sums)
{
    double most = 0;
    cv::minMaxLoc(sums, nullptr, &most);
    std::vector<cv::Range> lines;
    int begin = 0;
    for (int y = 0; y <= sums.rows; ++y) {
        if (y < sums.rows && sums.at<float>(y) > most / 4)
            continue;
        if (y - begin >= kLeastLine)
            lines.emplace_back(begin, y);
        begin = y + 1;
    }
    return lines;
}

/// Where the window of so many columns that has the most ink begins.
int densestColumns(const cv::Mat &ink, int width)
{
    cv::Mat sums;
    cv::reduce(ink, sums, 0, cv::REDUCE_SUM, CV_64F);
    int best = 0;
    double sum = 0;
    double most = 0;
    for (int x = 0; x < sums.cols; ++x) {
        sum += sums.at<double>(x) - (x >= width ? sums.at<double>(x - width) : 0);
        if (x + 1 >= width && sum > most) {
            most = sum;
            best = x + 1 - width;
        }
    }
    return best;
}

/// The rows around the lines that have the most ink among neighbours; an empty range for none.
cv::Range densestLines(const cv::Mat &sums)
{
    const std::vector<cv::Range> lines = linesOf(sums);
    if (lines.size() < kSampleLines)
        return {};
    std::size_t best = 0;
    double most = 0;
    for (std::size_t at = 0; at + kSampleLines <= lines.size(); ++at) {
        const cv::Range rows(lines[at].start, lines[at + kSampleLines - 1].end);
        const double density = cv::mean(sums.rowRange(rows))[0];
        if (density > most) {
            most = density;
            best = at;
        }
    }
    const std::size_t last = best + kSampleLines - 1;
    const int above = best > 0 ? lines[best - 1].end : 0;
    const int below = last + 1 < lines.size() ? lines[last + 1].start : sums.rows;
    const int top = lines[best].start;
    const int bottom = lines[last].end;
    return {top - std::min(kMargin, (top - above + 1) / 2),
            bottom + std::min(kMargin, (below - bottom + 1) / 2)};
}

/// The piece in the middle of paper, so that no edge looks like a stroke.
cv::Mat onPaper(const cv::Mat &piece, int margin)
{
    const cv::Scalar paper = cv::mean(piece, piece > cv::mean(piece)[0]);
    cv::Mat framed;
    cv::copyMakeBorder(piece, framed, margin, margin, margin, margin,
                       cv::BORDER_CONSTANT | cv::BORDER_ISOLATED, paper);
    return framed;
}

} // namespace

std::optional<WritingGuess> guessTurn(const Image &gray, LineStart start)
{
    if (std::max(gray.width(), gray.height()) < kLeastLongSide)
        return std::nullopt;
    const cv::Mat ink = inkOf(gray).shares;
    if (ink.empty())
        return std::nullopt;
    const double across = energyOfLines(ink);
    const double down = energyOfLines(ink.t());
    if (std::max(across, down) <= kClearly * std::min(across, down))
        return std::nullopt;
    WritingGuess guess;
    const double left = flushLeft(across > down ? ink : ink.t());
    const double flush = start == LineStart::Left ? left : -left;
    guess.isFlush = std::abs(flush) > kClearlyFlush;
    if (across > down)
        guess.turn = flush > kFlush ? Rotation::None : Rotation::Half;
    else // turned to the left, the upper edge becomes the left one
        guess.turn = flush > 0 ? Rotation::Left90 : Rotation::Right90;
    return guess;
}

std::optional<Image> sampleBothWaysUp(const Image &gray)
{
    const Ink ink = inkOf(gray);
    const int width = cvRound(ink.shares.cols * kSampleWidth);
    if (width < 1)
        return std::nullopt;
    const int left = densestColumns(ink.shares, width);
    const cv::Range rows =
        densestLines(rowSums(ink.shares.colRange(left, left + width), kStroke / 2));
    if (rows.empty())
        return std::nullopt;
    const cv::Rect area(left * ink.factor, rows.start * ink.factor, width * ink.factor,
                        rows.size() * ink.factor);
    const cv::Mat piece = onPaper(matView(gray)(area), kMargin * ink.factor);
    Image sample = Image::unset(piece.cols, 2 * piece.rows, PixelFormat::Gray8);
    sample.setResolution(gray.resolution());
    cv::Mat pixels = matView(sample);
    piece.copyTo(pixels.rowRange(0, piece.rows));
    cv::flip(piece, pixels.rowRange(piece.rows, 2 * piece.rows), -1);
    return sample;
}

} // namespace korv
