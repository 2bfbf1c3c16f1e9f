#include "library/lineart/fine_separation.h"

#include "library/lineart/ink_limits.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/core/hal/intrin.hpp>

namespace korv {

namespace {

constexpr int kPixelLanes = 8;

/// Columns beside a page that repeat its border: what the kernels read and write past it.
constexpr int kMargin = 3 * kPixelLanes;

// Cubic convolution (a = -3/4) a quarter of a pixel beside a pixel's middle, in 1/256: that pixel, its
// neighbour on that side and on the other, and the next but one.
constexpr short kSame = 225;
constexpr short kSideWeight = 67;
constexpr short kOtherSide = -27;
constexpr short kBeyond = -9;
constexpr int kTapBits = 8;

constexpr int kMiddle = 128; ///< is taken off the levels, so that a sum of taps fits 16 bits

// Limits belong to the middles of cells. From one middle to the next there are as many pixels of the
// result as a cell is wide, each an odd number of steps from the first middle.
constexpr int kResultCell = 2 * kLimitCell;
constexpr int kSteps = 2 * kResultCell;
constexpr int kLimitBits = 8; ///< of what is mixed in both directions

static_assert(kSteps * kSteps == 1 << kLimitBits, "weights of both directions");

static_assert(kResultCell == kPixelLanes, "a vector holds what lies between two limits");

/// Rows of a page with repeated borders, as levels from -128 on. Five around a row can be used at once.
class CentredRows
{
public:
    explicit CentredRows(const cv::Mat &page)
        : m_page(page)
    {
        for (Row &row : m_rows)
            row.levels.create(1, page.cols + 2 * kMargin, CV_16SC1);
    }

    /// Outside of the page, its nearest row.
    const std::int16_t *row(int y)
    {
        const int place = std::clamp(y, 0, m_page.rows - 1);
        Row &row = m_rows[static_cast<std::size_t>(place) % m_rows.size()];
        auto *levels = row.levels.ptr<std::int16_t>() + kMargin;
        if (row.y == place)
            return levels;
        cv::Mat middle = row.levels.colRange(kMargin, kMargin + m_page.cols);
        m_page.row(place).convertTo(middle, CV_16S, 1, -kMiddle);
        std::fill_n(levels - kMargin, kMargin, levels[0]);
        std::fill_n(levels + m_page.cols, kMargin, levels[m_page.cols - 1]);
        row.y = place;
        return levels;
    }

private:
    struct Row
    {
        int y = -1;
        cv::Mat levels;
    };

    const cv::Mat &m_page;
    std::array<Row, 5> m_rows;
};

/// A row of 16-bit numbers with margins.
template <typename Number> class WideRow
{
public:
    explicit WideRow(int width)
        : m_numbers(static_cast<std::size_t>(width + 2 * kMargin))
    {
    }

    Number *data() { return m_numbers.data() + kMargin; }

private:
    std::vector<Number> m_numbers;
};

/// Columns from `first` up to `end` of the rows 2 y and 2 y + 1 of a page that is enlarged upwards
/// only, in 1/128 of a level.
void enlargeUpwards(CentredRows &page, int y, int first, int end, std::int16_t *upper,
                    std::int16_t *lower)
{
    const std::array<const std::int16_t *, 5> rows = {page.row(y - 2), page.row(y - 1), page.row(y),
                                                      page.row(y + 1), page.row(y + 2)};
    const cv::v_int16x8 same = cv::v_setall_s16(kSame);
    const cv::v_int16x8 side = cv::v_setall_s16(kSideWeight);
    const cv::v_int16x8 otherSide = cv::v_setall_s16(kOtherSide);
    const cv::v_int16x8 beyond = cv::v_setall_s16(kBeyond);
    for (int x = first; x < end; x += kPixelLanes) {
        const auto at = [&](std::size_t row) { return cv::v_load(rows[row] + x); };
        const cv::v_int16x8 middle = cv::v_mul_wrap(at(2), same);
        // pairs of taps fit 16 bits, and so do halves of both, overshoots of sharp edges included
        const auto halves = [](const cv::v_int16x8 &near, const cv::v_int16x8 &far) {
            return (near >> 1) + (far >> 1);
        };
        cv::v_store(upper + x,
                    halves(middle + cv::v_mul_wrap(at(3), otherSide),
                           cv::v_mul_wrap(at(1), side) + cv::v_mul_wrap(at(0), beyond)));
        cv::v_store(lower + x,
                    halves(middle + cv::v_mul_wrap(at(1), otherSide),
                           cv::v_mul_wrap(at(3), side) + cv::v_mul_wrap(at(4), beyond)));
    }
}

/// Two taps for pairs of neighbours.
cv::v_int16x8 pairOf(short first, short second)
{
    return {first, second, first, second, first, second, first, second};
}

/// Eight sums of four neighbours each, two pairs in a row, as levels from -128 on.
cv::v_int16x8 sumsOf(const std::int16_t *first, const cv::v_int16x8 &taps,
                     const cv::v_int16x8 &nextTaps)
{
    cv::v_int16x8 low;
    cv::v_int16x8 high;
    cv::v_int16x8 nextLow;
    cv::v_int16x8 nextHigh;
    cv::v_zip(cv::v_load(first), cv::v_load(first + 1), low, high);
    cv::v_zip(cv::v_load(first + 2), cv::v_load(first + 3), nextLow, nextHigh);
    return cv::v_rshr_pack<2 * kTapBits - 1>(
        cv::v_dotprod(nextLow, nextTaps, cv::v_dotprod(low, taps)),
        cv::v_dotprod(nextHigh, nextTaps, cv::v_dotprod(high, taps)));
}

/// Sixteen levels of the enlarged page from eight columns of a row that is enlarged upwards.
cv::v_uint8x16 levelsOf(const std::int16_t *columns)
{
    const cv::v_int16x8 beyondAndSide = pairOf(kBeyond, kSideWeight);
    const cv::v_int16x8 sameAndOther = pairOf(kSame, kOtherSide);
    const cv::v_int16x8 otherAndSame = pairOf(kOtherSide, kSame);
    const cv::v_int16x8 sideAndBeyond = pairOf(kSideWeight, kBeyond);
    cv::v_int16x8 low;
    cv::v_int16x8 high;
    cv::v_zip(sumsOf(columns - 2, beyondAndSide, sameAndOther),
              sumsOf(columns - 1, otherAndSame, sideAndBeyond), low, high);
    const cv::v_int16x8 middle = cv::v_setall_s16(kMiddle);
    return cv::v_pack_u(low + middle, high + middle);
}

/// What is between two limits, given in 1 / kSteps.
cv::v_uint16x8 limitsBetween(std::uint16_t first, std::uint16_t second)
{
    const cv::v_uint16x8 steps(1, 3, 5, 7, 9, 11, 13, 15);
    const auto start = static_cast<std::uint16_t>(first * kSteps + (1 << (kLimitBits - 1)));
    const auto change = static_cast<std::uint16_t>(second - first); // modulo 2^16, as all of this
    return cv::v_add_wrap(cv::v_setall_u16(start), cv::v_mul_wrap(cv::v_setall_u16(change), steps))
        >> kLimitBits;
}

/// Sixteen levels of the limits: from one limit to the next, and to the one after that.
cv::v_uint8x16 limitsOf(const std::uint16_t *limits)
{
    return cv::v_pack(limitsBetween(limits[0], limits[1]), limitsBetween(limits[1], limits[2]));
}

/// One row of the limits, `step` steps below the middles of the upper ones, in 1 / kSteps.
void mixLimits(const std::uint8_t *upper, const std::uint8_t *lower, int step, int first, int end,
               std::uint16_t *mixed)
{
    const cv::v_uint16x8 above = cv::v_setall_u16(static_cast<std::uint16_t>(kSteps - step));
    const cv::v_uint16x8 below = cv::v_setall_u16(static_cast<std::uint16_t>(step));
    for (int x = first; x < end; x += kPixelLanes) {
        cv::v_store(mixed + x,
                    cv::v_load_expand(upper + x) * above + cv::v_load_expand(lower + x) * below);
    }
}

/// Where limits are not 0: from one cell up to another, an even number of cells.
struct Span
{
    int first = 0;
    int end = 0;
};

/// Does the work band by band: what lies between two rows of limits.
class FineSeparation
{
public:
    FineSeparation(const cv::Mat &page, const cv::Mat &limits, cv::Mat &result)
        : m_page(page)
        , m_cells(limits.size())
        , m_upper(page.cols)
        , m_lower(page.cols)
        , m_rowLimits(limits.cols)
        , m_line(2 * page.cols)
        , m_result(result)
    {
        cv::copyMakeBorder(limits, m_limits, 1, 1, kMargin, kMargin, cv::BORDER_REPLICATE);
    }

    void run()
    {
        for (int band = -1; band < m_cells.height; ++band) {
            const int first = std::max(0, band * kResultCell + kResultCell / 2);
            const int end = std::min(m_result.rows, (band + 1) * kResultCell + kResultCell / 2);
            if (first >= end)
                break; // the last cells are not whole
            m_result.rowRange(first, end).setTo(255);
            findSpans(band);
            for (int y = first; y < end && !m_spans.empty(); y += 2)
                separateTwoRows(band, y);
        }
    }

private:
    const std::uint8_t *limitRow(int y) const
    {
        return m_limits.ptr<std::uint8_t>(y + 1) + kMargin;
    }

    void findSpans(int band)
    {
        const std::uint8_t *upper = limitRow(band);
        const std::uint8_t *lower = limitRow(band + 1);
        m_spans.clear();
        for (int x = -1; x < m_cells.width; x += 2) {
            if ((upper[x] | upper[x + 1] | upper[x + 2] | lower[x] | lower[x + 1] | lower[x + 2])
                == 0)
                continue;
            if (m_spans.empty() || m_spans.back().end != x)
                m_spans.push_back({x, x});
            m_spans.back().end = x + 2;
        }
    }

    /// Of the result: row `y`, which is even, and the next one.
    void separateTwoRows(int band, int y)
    {
        for (const Span &span : m_spans) {
            const int first = span.first * kLimitCell + kLimitCell / 2;
            const int end = span.end * kLimitCell + kLimitCell / 2;
            enlargeUpwards(m_page, y / 2, first - 2, end + 2, m_upper.data(), m_lower.data());
            separateRow(band, y, span, m_upper.data());
            separateRow(band, y + 1, span, m_lower.data());
        }
    }

    void separateRow(int band, int y, const Span &span, const std::int16_t *levels)
    {
        const int step = 2 * (y - band * kResultCell - kResultCell / 2) + 1;
        std::uint16_t *limits = m_rowLimits.data();
        mixLimits(limitRow(band), limitRow(band + 1), step, span.first, span.end + 1, limits);
        std::uint8_t *line = m_line.data();
        for (int cell = span.first; cell < span.end; cell += 2) {
            const int x = cell * kLimitCell + kLimitCell / 2;
            cv::v_store(line + 2 * x, levelsOf(levels + x) >= limitsOf(limits + cell));
        }
        const int first = std::max(0, span.first * kResultCell + kResultCell / 2);
        const int end = std::min(m_result.cols, span.end * kResultCell + kResultCell / 2);
        std::copy(line + first, line + end, m_result.ptr<std::uint8_t>(y) + first);
    }

    CentredRows m_page;
    cv::Size m_cells;
    cv::Mat m_limits; ///< with margins, and a row more above and below
    std::vector<Span> m_spans; ///< of a band
    WideRow<std::int16_t> m_upper;
    WideRow<std::int16_t> m_lower;
    WideRow<std::uint16_t> m_rowLimits;
    WideRow<std::uint8_t> m_line; ///< of the result
    cv::Mat &m_result;
};

} // namespace

void separateFinely(const cv::Mat &page, const cv::Mat &limits, cv::Mat &result)
{
    FineSeparation(page, limits, result).run();
}

} // namespace korv
