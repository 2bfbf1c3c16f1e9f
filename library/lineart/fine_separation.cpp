#include "library/lineart/fine_separation.h"

#include "library/lineart/ink_limits.h"
#include "library/lineart/stroke_network.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/core/hal/intrin.hpp>

namespace korv {

namespace {

constexpr int kShareBorder = StrokeNetwork::kReach + 1;
constexpr int kPaperShare = StrokeNetwork::kPaper;
constexpr int kInkShare = StrokeNetwork::kInk;

// Shares of the ink's depth: what has less is paper, and what has more is ink, with few exceptions.
constexpr double kClearlyPaper = 0.2;
constexpr int kClearlyPaperShare = static_cast<int>(kClearlyPaper * (kInkShare - kPaperShare));
constexpr double kClearlyInk = 0.8;
constexpr int kClearlyInkLevel =
    kPaperShare + static_cast<int>(kClearlyInk * (kInkShare - kPaperShare));

/// Where as much speaks for ink as for paper. Slightly on the side of ink: what breaks a stroke is worse
/// than what makes it thicker.
constexpr std::int32_t kEven = static_cast<std::int32_t>(-0.32 * StrokeNetwork::kSure);

/// Within this, more or less of what speaks for ink makes more or less of it.
constexpr std::int32_t kUnsure = StrokeNetwork::kSure * 3 / 2;

// The same by the pixel's own level, in shares of the ink's depth.
constexpr double kEvenShade = 0.44;
constexpr double kUnsureShade = 0.25;

/// A bit for each quarter of a pixel.
using BlackQuarters = unsigned;
constexpr BlackQuarters kAllQuarters = 0b1111;

constexpr int kMuch = 256; ///< parts of a quarter's ink

/// How much ink is in all quarters by the pixel's level.
int inkOfShade(int level)
{
    constexpr double kDepth = kInkShare - kPaperShare;
    constexpr int kNone = kPaperShare + static_cast<int>((kEvenShade - kUnsureShade) * kDepth);
    constexpr int kRange = static_cast<int>(2 * kUnsureShade * kDepth);
    return StrokeNetwork::kQuarters * kMuch * std::clamp(level - kNone, 0, kRange) / kRange;
}

/// How much ink is in all quarters by what the network finds.
int inkOf(const StrokeNetwork::Quarters &sureness)
{
    constexpr std::int32_t kPart = 2 * kUnsure / kMuch;
    std::int32_t ink = 0;
    for (const std::int32_t quarter : sureness)
        ink += std::clamp(quarter - kEven + kUnsure, 0, 2 * kUnsure);
    return ink / kPart;
}

/// As many quarters as there is ink in all of them, the surest first. The network alone is too sure: in
/// what it takes for blank or solid there may still be a bar or gap, and the level tells of it.
BlackQuarters inkQuarters(const StrokeNetwork::Quarters &sureness, int level)
{
    const int count = (inkOf(sureness) + inkOfShade(level) + kMuch) / (2 * kMuch);
    if (count == 0 || count == StrokeNetwork::kQuarters)
        return count == 0 ? 0 : kAllQuarters;
    std::array<int, StrokeNetwork::kQuarters>
        surer{}; // than each of them; of equal ones the first is
    for (std::size_t i = 0; i < sureness.size(); ++i) {
        for (std::size_t k = i + 1; k < sureness.size(); ++k) {
            const int first = static_cast<int>(sureness[i] >= sureness[k]);
            surer[k] += first;
            surer[i] += 1 - first;
        }
    }
    BlackQuarters black = 0;
    for (std::size_t i = 0; i < surer.size(); ++i)
        black |= static_cast<BlackQuarters>(surer[i] < count) << i;
    return black;
}

constexpr int kTogether = 16; ///< pixels that are looked at together

/// Columns of the page, up to the end of the last vector.
std::size_t wholeVectors(int width)
{
    return static_cast<std::size_t>(width + kTogether - 1) / kTogether * kTogether;
}

/// Turns levels into shares of the depth of ink, with what holds for the columns of a row of squares.
class Shares
{
public:
    explicit Shares(int width)
        : m_levels(wholeVectors(width))
        , m_whites(m_levels.size())
        , m_factors(m_levels.size())
    {
    }

    void take(const InkDepths &ink, int squareRow)
    {
        const auto *depths = ink.depths.ptr<std::uint8_t>(squareRow);
        const auto *whites = ink.whites.ptr<std::uint8_t>(squareRow);
        for (int square = 0; square < ink.depths.cols; ++square) {
            const int depth = depths[square];
            const int factor = depth == 0 ? 0 : (kInkShare - kPaperShare) * 256 / depth;
            const auto first = static_cast<std::size_t>(square * kLimitCell);
            std::fill_n(&m_whites[first], kLimitCell, whites[square]);
            std::fill_n(&m_factors[first], kLimitCell, static_cast<std::uint16_t>(factor));
        }
    }

    /// A row of the page in shares of the depth of ink; paper where nothing is ink, and beyond its end.
    void toShares(const cv::Mat &row, std::uint8_t *shares)
    {
        std::copy_n(row.ptr<std::uint8_t>(), row.cols, m_levels.data());
        for (std::size_t x = 0; x < m_levels.size(); x += kTogether)
            cv::v_store(shares + x, cv::v_pack(eightShares(x), eightShares(x + kTogether / 2)));
    }

private:
    cv::v_uint16x8 eightShares(std::size_t x) const
    {
        const cv::v_uint16x8 level = cv::v_load_expand(&m_levels[x]);
        const cv::v_uint16x8 white = cv::v_load(&m_whites[x]);
        const cv::v_uint16x8 factor = cv::v_load(&m_factors[x]);
        // differences stop at 0
        const cv::v_uint16x8 darker = cv::v_mul_hi((white - level) << 8, factor);
        const cv::v_uint16x8 lighter = cv::v_mul_hi((level - white) << 8, factor);
        return cv::v_setall_u16(kPaperShare) + darker - lighter;
    }

    std::vector<std::uint8_t> m_levels;
    std::vector<std::uint16_t> m_whites;
    std::vector<std::uint16_t> m_factors; ///< of what is darker than paper, in 1 / 256
};

/// The shares up to which the pixels of a row of squares are paper for sure.
class ClearPaper
{
public:
    explicit ClearPaper(int width)
        : m_shares(wholeVectors(width))
    {
    }

    void take(const InkDepths &ink, int squareRow)
    {
        const auto *depths = ink.depths.ptr<std::uint8_t>(squareRow);
        const auto *least = ink.leastDepths.ptr<std::uint8_t>(squareRow);
        for (int square = 0; square < ink.depths.cols; ++square) {
            const int depth = depths[square];
            const int share = depth == 0 ? 255
                                         : kPaperShare
                    + std::max(kClearlyPaperShare,
                               least[square] * (kInkShare - kPaperShare) / depth);
            std::fill_n(&m_shares[static_cast<std::size_t>(square * kLimitCell)], kLimitCell,
                        static_cast<std::uint8_t>(share));
        }
    }

    /// Whether all of some pixels, from column x on, are paper.
    bool isAllOf(const std::uint8_t *shares, std::size_t x) const
    {
        return !cv::v_check_any(cv::v_load(shares + x) > cv::v_load(&m_shares[x]));
    }

    int at(std::size_t x) const { return m_shares[x]; }

private:
    std::vector<std::uint8_t> m_shares;
};

/// The page in shares of the depth of ink, with a border.
cv::Mat sharesOf(const cv::Mat &page, const InkDepths &ink)
{
    const auto width = static_cast<int>(wholeVectors(page.cols));
    cv::Mat result(page.rows + 2 * kShareBorder, width + 2 * kShareBorder, CV_8UC1,
                   cv::Scalar(kPaperShare));
    Shares shares(page.cols);
    for (int y = 0; y < page.rows; ++y) {
        if (y % kLimitCell == 0)
            shares.take(ink, y / kLimitCell);
        shares.toShares(page.row(y), result.ptr<std::uint8_t>(y + kShareBorder) + kShareBorder);
    }
    return result;
}

/// Goes over the page and gathers the pixels that are not clear by themselves.
class FineSeparation
{
public:
    FineSeparation(const EvenedPage &page, cv::Mat &result)
        : m_ink(inkDepths(page))
        , m_shares(sharesOf(page.sharp, m_ink))
        , m_network(static_cast<std::ptrdiff_t>(m_shares.step[0]))
        , m_size(page.sharp.size())
        , m_result(result)
    {
    }

    void run()
    {
        m_result.setTo(255);
        ClearPaper paper(m_size.width);
        for (int y = 0; y < m_size.height; ++y) {
            if (y % kLimitCell == 0)
                paper.take(m_ink, y / kLimitCell);
            const auto *shares = m_shares.ptr<std::uint8_t>(y + kShareBorder) + kShareBorder;
            for (int x = 0; x < m_size.width; x += kTogether) {
                if (!paper.isAllOf(shares, static_cast<std::size_t>(x)))
                    separateSome(paper, shares, {x, y});
            }
        }
        decide();
    }

private:
    void separateSome(const ClearPaper &paper, const std::uint8_t *shares, cv::Point first)
    {
        const int end = std::min(m_size.width, first.x + kTogether);
        for (int x = first.x; x < end; ++x) {
            if (shares[x] <= paper.at(static_cast<std::size_t>(x)))
                continue;
            if (shares[x] >= kClearlyInkLevel)
                blacken({x, first.y}, kAllQuarters);
            else
                add({x, first.y}, shares + x);
        }
    }

    void add(cv::Point pixel, const std::uint8_t *levels)
    {
        const cv::Point square(pixel.x / kLimitCell, pixel.y / kLimitCell);
        const int depth = m_ink.depths.at<std::uint8_t>(square);
        const int noise = m_ink.noise.at<std::uint8_t>(square);
        m_pixels[m_count] = pixel;
        m_places[m_count] = {levels, std::min(255, 255 * depth / EvenedPage::kWhite),
                             std::min(255, 2 * 255 * noise / (kNoiseParts * depth))};
        if (++m_count == m_pixels.size())
            decide();
    }

    void decide()
    {
        if (m_count == 0)
            return;
        std::fill(m_places.begin() + static_cast<std::ptrdiff_t>(m_count), m_places.end(),
                  m_places.front());
        const auto sureness = m_network(m_places);
        for (std::size_t i = 0; i < m_count; ++i)
            blacken(m_pixels[i], inkQuarters(sureness[i], *m_places[i].levels));
        m_count = 0;
    }

    void blacken(cv::Point pixel, BlackQuarters black)
    {
        for (unsigned down = 0; down < 2; ++down) {
            auto *row = m_result.ptr<std::uint8_t>(2 * pixel.y + static_cast<int>(down));
            for (unsigned right = 0; right < 2; ++right) {
                const unsigned white = ~(black >> (2 * down + right)) & 1;
                row[2 * pixel.x + static_cast<int>(right)] = static_cast<std::uint8_t>(255 * white);
            }
        }
    }

    InkDepths m_ink;
    cv::Mat m_shares;
    StrokeNetwork m_network;
    cv::Size m_size; ///< of the page
    cv::Mat &m_result;
    std::array<StrokeNetwork::Place, StrokeNetwork::kPixels> m_places;
    std::array<cv::Point, StrokeNetwork::kPixels> m_pixels;
    std::size_t m_count = 0; ///< of those that wait for the network
};

} // namespace

void separateFinely(const EvenedPage &page, cv::Mat &result)
{
    FineSeparation(page, result).run();
}

} // namespace korv
