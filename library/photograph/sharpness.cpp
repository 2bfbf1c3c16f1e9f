#include "library/photograph/sharpness.h"

#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"
#include "library/lineart/paper_light.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

constexpr double kLeastStrokes = 1.2; ///< OCR begins to fail below it, see docs/crop.md
constexpr double kResolved = 1.1; ///< a blur of this many pixels is the camera's, not the lens's

constexpr int kOverview = 400; ///< least long side of the picture in which writing is looked for
constexpr int kTile = 256; ///< side of the squares that are measured, in pixels of the page
constexpr std::size_t kTiles = 12;

constexpr double kLit = 0.6; ///< of the best lit paper: what is darker may be a picture
constexpr double kFullInk = 0.4; ///< a darker place in the overview is no richer in writing
constexpr double kLeastInk = 0.01; ///< mean depth of a tile that is worth a look

constexpr double kSmoothing = 1; ///< standard deviation in pixels, against noise
constexpr double kStrongShare = 0.01; ///< of the pixels of the tiles: has the strongest ink
constexpr double kLeastContrast = 0.06; ///< of that ink
constexpr double kNoiseLevels = 2.5; ///< and in deviations of the noise before smoothing

// pieces of writing: letters or, when they flow together, words
constexpr int kLeastPiece = 9; ///< pixels
constexpr double kLargestType = 1.0 / 50; ///< height of a letter, of the page's long side
constexpr std::size_t kMinPieces = 30;

constexpr double kErfWidth = 2.5066; ///< contrast by steepest slope of an edge, in its deviations
constexpr double kEdgeShare = 0.5; ///< of the strongest contrast: an edge of writing
constexpr double kSharpestShare = 0.1; ///< of the edges: the sharpest

cv::Mat lumaOf(const cv::Mat &picture)
{
    if (picture.channels() == 1)
        return picture;
    cv::Mat gray;
    cv::cvtColor(picture, gray, cv::COLOR_RGB2GRAY);
    return gray;
}

float quantile(std::vector<float> &values, double share)
{
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + rank, values.end());
    return values[static_cast<std::size_t>(rank)];
}

std::vector<float> valuesOf(const cv::Mat &floats)
{
    const cv::Mat whole = floats.isContinuous() ? floats : floats.clone();
    return {whole.begin<float>(), whole.end<float>()};
}

/// The depth of the ink: 0 blank paper, 1 black.
cv::Mat inkDepth(const cv::Mat &gray, const cv::Mat &light)
{
    cv::Mat depth;
    cv::divide(gray, light, depth, -1.0, CV_32F);
    return depth + 1.0F;
}

/// Squares of the page that are rich in writing on lit paper.
class Tiles
{
public:
    /// The page is borrowed.
    explicit Tiles(const cv::Mat &page)
        : m_page(page)
    {
        const int cell = std::max(1, std::max(page.cols, page.rows) / kOverview);
        const cv::Size size(std::max(1, page.cols / cell), std::max(1, page.rows / cell));
        cv::Mat small;
        // whole squares of pixels shrink much faster than any other size
        cv::resize(page(cv::Rect(0, 0, std::min(page.cols, size.width * cell),
                                 std::min(page.rows, size.height * cell))),
                   small, size, 0, 0, cv::INTER_AREA);
        small = lumaOf(small);
        cv::resize(paperLight(small), m_light, size);
        cv::Mat light;
        m_light.convertTo(light, CV_32F);
        std::vector<float> levels = valuesOf(light);
        m_lit = quantile(levels, 0.9);
        cv::Mat ink = cv::max(cv::min(inkDepth(small, m_light), kFullInk), 0.0);
        ink.setTo(0, light < kLit * m_lit);
        choose(ink, 1.0 / cell);
    }

    double litLevel() const { return m_lit; }
    const std::vector<cv::Rect> &squares() const { return m_squares; }

    cv::Mat lumaIn(const cv::Rect &square) const { return lumaOf(m_page(square)); }

    /// The depth of the ink in a square whose luma that is, smoothed.
    cv::Mat depthIn(const cv::Rect &square, const cv::Mat &luma) const
    {
        const double x = static_cast<double>(m_light.cols) / m_page.cols;
        const double y = static_cast<double>(m_light.rows) / m_page.rows;
        const cv::Matx23d map(x, 0, (square.x + 0.5) * x - 0.5, 0, y, (square.y + 0.5) * y - 0.5);
        cv::Mat light;
        cv::warpAffine(m_light, light, map, square.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                       cv::BORDER_REPLICATE);
        cv::Mat depth = inkDepth(luma, light);
        cv::GaussianBlur(depth, depth, cv::Size(), kSmoothing);
        return depth;
    }

private:
    void choose(const cv::Mat &ink, double scale)
    {
        struct Candidate
        {
            cv::Rect square;
            double ink = 0;
        };
        std::vector<Candidate> all;
        const cv::Rect page(0, 0, m_page.cols, m_page.rows);
        for (int y = 0; y < page.height; y += kTile) {
            for (int x = 0; x < page.width; x += kTile) {
                const cv::Rect square = cv::Rect(x, y, kTile, kTile) & page;
                const cv::Rect small = cv::Rect(cvFloor(x * scale), cvFloor(y * scale),
                                                std::max(1, cvRound(square.width * scale)),
                                                std::max(1, cvRound(square.height * scale)))
                    & cv::Rect(0, 0, ink.cols, ink.rows);
                const double mean = small.area() > 0 ? cv::mean(ink(small))[0] : 0;
                if (mean >= kLeastInk && square.width > kTile / 4 && square.height > kTile / 4)
                    all.push_back({square, mean});
            }
        }
        std::stable_sort(all.begin(), all.end(),
                         [](const Candidate &a, const Candidate &b) { return a.ink > b.ink; });
        all.resize(std::min(all.size(), kTiles));
        for (const Candidate &each : all)
            m_squares.push_back(each.square);
    }

    const cv::Mat &m_page;
    cv::Mat m_light; ///< of the overview
    double m_lit = 0;
    std::vector<cv::Rect> m_squares;
};

/// The connected pieces of ink in one tile.
struct Pieces
{
    cv::Mat labels;
    cv::Mat stats;

    int count() const { return stats.rows; }
    int area(int piece) const { return stats.at<int>(piece, cv::CC_STAT_AREA); }
    /// Of its upright box: the height of a word, or of a letter the width.
    int shortSide(int piece) const
    {
        return std::min(stats.at<int>(piece, cv::CC_STAT_WIDTH),
                        stats.at<int>(piece, cv::CC_STAT_HEIGHT));
    }
};

class Page
{
public:
    explicit Page(const cv::Mat &page)
        : m_largest(std::max(8.0, kLargestType * std::max(page.cols, page.rows)))
    {
        const Tiles tiles(page);
        double noise = 0;
        for (const cv::Rect &square : tiles.squares()) {
            const cv::Mat luma = tiles.lumaIn(square);
            m_depths.push_back(tiles.depthIn(square, luma));
            noise += noiseOf(luma) / static_cast<double>(tiles.squares().size());
        }
        m_leastContrast =
            std::max(kLeastContrast, kNoiseLevels * noise / std::max(1.0, tiles.litLevel()));
    }

    Sharpness measure()
    {
        Sharpness result;
        if (!findInk() || !findLetterHeight())
            return result;
        result.strokes = strokes();
        result.blur = blur();
        result.known = result.strokes > 0 && result.blur >= 0;
        return result;
    }

private:
    bool findInk()
    {
        std::vector<float> all;
        for (const cv::Mat &depth : m_depths) {
            const std::vector<float> values = valuesOf(depth);
            all.insert(all.end(), values.begin(), values.end());
        }
        if (all.empty())
            return false;
        const float strongest = quantile(all, 1 - kStrongShare);
        if (strongest < m_leastContrast)
            return false;
        m_threshold = strongest / 2;
        for (const cv::Mat &depth : m_depths) {
            Pieces pieces;
            cv::Mat centroids;
            cv::connectedComponentsWithStats(depth > m_threshold, pieces.labels, pieces.stats,
                                             centroids, 8, CV_32S);
            m_pieces.push_back(pieces);
        }
        return true;
    }

    bool isType(const Pieces &pieces, int piece) const
    {
        return pieces.area(piece) >= kLeastPiece && pieces.shortSide(piece) <= m_largest;
    }

    /// The short side of pieces by which half of the ink is in smaller ones.
    bool findLetterHeight()
    {
        std::vector<double> inkBySide(static_cast<std::size_t>(m_largest) + 1, 0);
        std::size_t count = 0;
        double total = 0;
        for (const Pieces &pieces : m_pieces) {
            for (int piece = 1; piece < pieces.count(); ++piece) {
                if (!isType(pieces, piece))
                    continue;
                inkBySide[static_cast<std::size_t>(pieces.shortSide(piece))] += pieces.area(piece);
                total += pieces.area(piece);
                ++count;
            }
        }
        double below = 0;
        while (count >= kMinPieces && below < total / 2)
            below += inkBySide[static_cast<std::size_t>(m_height++)];
        return count >= kMinPieces;
    }

    /// Where pieces about as high as letters are.
    cv::Mat letters(const Pieces &pieces) const
    {
        std::vector<std::uint8_t> isLetter(static_cast<std::size_t>(pieces.count()), 0);
        for (int piece = 1; piece < pieces.count(); ++piece) {
            const int side = pieces.shortSide(piece);
            if (isType(pieces, piece) && 2 * side >= m_height && side <= 2 * m_height)
                isLetter[static_cast<std::size_t>(piece)] = 255;
        }
        cv::Mat result(pieces.labels.size(), CV_8UC1);
        std::transform(pieces.labels.begin<int>(), pieces.labels.end<int>(),
                       result.begin<std::uint8_t>(),
                       [&](int label) { return isLetter[static_cast<std::size_t>(label)]; });
        return result;
    }

    static cv::Mat rangeOf(const cv::Mat &depth, cv::Size around)
    {
        const cv::Mat reach = cv::getStructuringElement(cv::MORPH_RECT, around);
        cv::Mat high;
        cv::Mat low;
        cv::dilate(depth, high, reach);
        cv::erode(depth, low, reach);
        return high - low;
    }

    /// The smaller median of both directions: across the lines of type they alternate with blank
    /// paper however blurred they are.
    double strokes() const
    {
        double least = 0;
        for (const bool across : {false, true}) {
            const int length = 2 * m_height + 1;
            const cv::Size around = across ? cv::Size(1, length) : cv::Size(length, 1);
            std::vector<float> changes;
            for (std::size_t i = 0; i < m_depths.size(); ++i) {
                cv::Mat mean;
                cv::blur(m_depths[i], mean, around);
                const cv::Mat change = rangeOf(m_depths[i], around) / cv::max(mean, 1e-3F);
                collect(change, letters(m_pieces[i]), changes);
            }
            if (changes.empty())
                return 0;
            const double middle = quantile(changes, 0.5);
            least = across ? std::min(least, middle) : middle;
        }
        return least;
    }

    static void collect(const cv::Mat &values, const cv::Mat &where, std::vector<float> &into)
    {
        for (int y = 0; y < values.rows; ++y) {
            for (int x = 0; x < values.cols; ++x) {
                if (where.at<std::uint8_t>(y, x) != 0)
                    into.push_back(values.at<float>(y, x));
            }
        }
    }

    /// Negative when there are too few edges.
    double blur() const
    {
        std::vector<float> widths;
        for (std::size_t i = 0; i < m_depths.size(); ++i) {
            cv::Mat nearLetters;
            cv::dilate(letters(m_pieces[i]), nearLetters,
                       cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3)));
            addWidths(m_depths[i], nearLetters, false, widths);
            addWidths(m_depths[i], nearLetters, true, widths);
        }
        if (widths.size() < kMinPieces)
            return -1;
        const double deviation = quantile(widths, kSharpestShare) / kErfWidth;
        return std::sqrt(std::max(0.0, deviation * deviation - kSmoothing * kSmoothing));
    }

    /// Widths of the edges at which the depth changes along rows, or along columns.
    void addWidths(const cv::Mat &depth, const cv::Mat &where, bool alongColumns,
                   std::vector<float> &widths) const
    {
        const int length = 2 * m_height + 1;
        const cv::Mat range =
            rangeOf(depth, alongColumns ? cv::Size(1, length) : cv::Size(length, 1));
        const int dx = alongColumns ? 0 : 1;
        const int dy = alongColumns ? 1 : 0;
        const auto slope = [&](int y, int x) {
            return std::abs(depth.at<float>(y + dy, x + dx) - depth.at<float>(y - dy, x - dx)) / 2;
        };
        for (int y = 2; y + 2 < depth.rows; ++y) {
            for (int x = 2; x + 2 < depth.cols; ++x) {
                const float contrast = range.at<float>(y, x);
                if (where.at<std::uint8_t>(y, x) == 0 || contrast < 2 * kEdgeShare * m_threshold)
                    continue;
                const float steepness = slope(y, x);
                if (steepness > 0 && steepness >= slope(y - dy, x - dx)
                    && steepness >= slope(y + dy, x + dx))
                    widths.push_back(contrast / steepness);
            }
        }
    }

    double m_largest; ///< height of a letter in pixels
    double m_leastContrast = 0;
    std::vector<cv::Mat> m_depths; ///< of the tiles
    std::vector<Pieces> m_pieces; ///< of the tiles
    double m_threshold = 0; ///< depth from which on a pixel is ink
    int m_height = 0; ///< of letters or words, in pixels
};

} // namespace

bool Sharpness::isOutOfFocus() const
{
    return known && strokes < kLeastStrokes && blur > kResolved;
}

Sharpness sharpnessOf(const Image &page)
{
    keepOpenCvInThisThread();
    const cv::Mat view = matView(page);
    return Page(view).measure();
}

} // namespace korv
