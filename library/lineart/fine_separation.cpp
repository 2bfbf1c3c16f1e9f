#include "library/lineart/fine_separation.h"

#include "library/lineart/ink_limits.h"
#include "library/lineart/stroke_network.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace korv {

namespace {

constexpr int kReach = StrokeNetwork::kReach;
constexpr int kPaper = StrokeNetwork::kPaper;
constexpr int kInk = StrokeNetwork::kInk;

// Shares of the ink's depth: what has less is paper, and what has more is ink, with few exceptions.
constexpr double kClearlyPaper = 0.2;
constexpr double kClearlyInk = 0.88;
constexpr int kClearlyInkLevel = kPaper + static_cast<int>(kClearlyInk * (kInk - kPaper));

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
    constexpr double kDepth = kInk - kPaper;
    constexpr int kNone = kPaper + static_cast<int>((kEvenShade - kUnsureShade) * kDepth);
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
    BlackQuarters black = 0;
    for (std::size_t i = 0; i < sureness.size(); ++i) {
        int surer = 0;
        for (std::size_t k = 0; k < sureness.size(); ++k)
            surer += sureness[k] > sureness[i] || (sureness[k] == sureness[i] && k < i) ? 1 : 0;
        black |= surer < count ? 1U << i : 0U;
    }
    return black;
}

/// The page in shares of the depth of ink, with a border; where nothing is ink, all is paper.
cv::Mat sharesOf(const cv::Mat &page, const InkDepths &ink)
{
    constexpr int kBits = 16;
    cv::Mat result(page.rows + 2 * kReach, page.cols + 2 * kReach, CV_8UC1, cv::Scalar(kPaper));
    for (int y = 0; y < page.rows; ++y) {
        const auto *levels = page.ptr<std::uint8_t>(y);
        const auto *depths = ink.depths.ptr<std::uint8_t>(y / kLimitCell);
        const auto *whites = ink.whites.ptr<std::uint8_t>(y / kLimitCell);
        auto *shares = result.ptr<std::uint8_t>(y + kReach) + kReach;
        for (int square = 0; square < ink.depths.cols; ++square) {
            if (depths[square] == 0)
                continue;
            const int first = square * kLimitCell;
            const int count = std::min(kLimitCell, page.cols - first);
            const int factor = ((kInk - kPaper) << kBits) / depths[square];
            const int paper = whites[square] * factor + (kPaper << kBits);
            std::array<int, kLimitCell> row{};
            std::copy_n(levels + first, count, row.begin());
            for (int &level : row)
                level = std::clamp((paper - level * factor) >> kBits, 0, 255);
            std::copy_n(row.begin(), count, shares + first);
        }
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
        for (int y = 0; y < m_size.height; ++y) {
            const auto *depths = m_ink.depths.ptr<std::uint8_t>(y / kLimitCell);
            for (int square = 0; square < m_ink.depths.cols; ++square) {
                if (depths[square] != 0)
                    separateSquareRow(y, {square, y / kLimitCell});
            }
        }
        decide();
    }

private:
    void separateSquareRow(int y, cv::Point square)
    {
        const int depth = m_ink.depths.at<std::uint8_t>(square);
        const int least = m_ink.leastDepths.at<std::uint8_t>(square);
        const int clearlyPaper = kPaper
            + std::max(static_cast<int>(kClearlyPaper * (kInk - kPaper)),
                       least * (kInk - kPaper) / depth);
        const auto *shares = m_shares.ptr<std::uint8_t>(y + kReach) + kReach;
        const int end = std::min(m_size.width, (square.x + 1) * kLimitCell);
        for (int x = square.x * kLimitCell; x < end; ++x) {
            if (shares[x] >= kClearlyInkLevel)
                blacken({x, y}, kAllQuarters);
            else if (shares[x] > clearlyPaper)
                add({x, y}, shares + x, square);
        }
    }

    void add(cv::Point pixel, const std::uint8_t *levels, cv::Point square)
    {
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
        for (int down = 0; down < 2; ++down) {
            auto *row = m_result.ptr<std::uint8_t>(2 * pixel.y + down) + 2 * pixel.x;
            row[0] = (black >> (2 * down) & 1) != 0 ? 0 : 255;
            row[1] = (black >> (2 * down + 1) & 1) != 0 ? 0 : 255;
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
