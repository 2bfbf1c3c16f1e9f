#include "library/lineart/soft_lines.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

constexpr double kLeastDpi = 150;
constexpr double kLineSoftening = 0.006; ///< inches
constexpr double kSideReach =
    0.015; ///< inches from the middle of a line or gap to what is beside it
constexpr double kNoiseLimit =
    2; ///< deviations of the noise before smoothing; less is no line, no gap
constexpr double kMinDarkness = 0.05; ///< of a line or gap, as a share of the paper's brightness

constexpr int kLineLanes = 16;
using Lanes = cv::v_uint8x16;

/// Where the sides of a pixel are, in memory, and by how much they have to differ from it.
struct Sides
{
    std::ptrdiff_t right = 0;
    std::ptrdiff_t down = 0;
    Lanes noise;
};

/// Sixteen pixels of the page, `level`, and the same as they are with hairlines, `deepened`: darker by
/// what both sides are lighter in the smoothed page, in the direction where that is most; where there is
/// no line, lighter by twice what both sides are darker.
Lanes setOff(const Lanes &level, const Lanes &deepened, const std::uint8_t *smooth,
             const Sides &sides)
{
    Lanes paper = cv::v_setall_u8(0);
    Lanes ink = cv::v_setall_u8(255);
    for (const std::ptrdiff_t distance :
         {sides.right, sides.down, sides.down + sides.right, sides.down - sides.right}) {
        const Lanes one = cv::v_load(smooth + distance);
        const Lanes other = cv::v_load(smooth - distance);
        paper = cv::v_max(paper, cv::v_min(one, other));
        ink = cv::v_min(ink, cv::v_max(one, other));
    }
    const Lanes middle = cv::v_load(smooth);
    // differences and sums of bytes stop at 0 and 255
    const Lanes line = cv::v_min(deepened, level - (paper - middle - sides.noise));
    const Lanes height = middle - ink - sides.noise;
    return cv::v_select(line == level, level + height + height, line);
}

/// Rows of a page that are worked on together, so that they stay in the cache.
class Band
{
public:
    Band(const EvenedPage &page, int reach)
        : m_page(page)
        , m_reach(reach)
        , m_tail(2 * cvRound(kLineSoftening * page.dpi))
        , m_bright(cv::v_setall_u8(
              cv::saturate_cast<std::uint8_t>(page.whiteLevel - kMinDarkness * EvenedPage::kWhite)))
        , m_noise(cv::v_setall_u8(cv::saturate_cast<std::uint8_t>(kNoiseLimit * page.noise)))
    {
    }

    void setOffRows(int first, int last, cv::Mat &result)
    {
        const int margin = m_reach + m_tail;
        const int top = std::max(0, first - margin);
        smoothen(top, std::min(last + margin, m_page.sharp.rows));
        const auto down = m_reach * static_cast<std::ptrdiff_t>(m_smooth.step[0]);
        const Sides sides = {m_reach, down, m_noise};
        for (int y = first; y < last; ++y)
            setOffRow(m_page.sharp.ptr<std::uint8_t>(y), m_smooth.ptr<std::uint8_t>(y - top), sides,
                      result.ptr<std::uint8_t>(y));
    }

private:
    void smoothen(int first, int last)
    {
        const double smoothing = kLineSoftening * m_page.dpi;
        // isolated: OpenCV is faster where it need not look at what is around the rows
        cv::GaussianBlur(m_page.sharp.rowRange(first, last), m_smooth,
                         cv::Size(2 * m_tail + 1, 2 * m_tail + 1), smoothing, smoothing,
                         cv::BORDER_REFLECT_101 | cv::BORDER_ISOLATED);
    }

    void setOffRow(const std::uint8_t *levels, const std::uint8_t *smooth, const Sides &sides,
                   std::uint8_t *out) const
    {
        const int last = m_page.sharp.cols - m_reach - kLineLanes;
        for (int place = m_reach; place < last + kLineLanes; place += kLineLanes) {
            const int x = std::min(place, last); // some may be done twice, which changes nothing
            const Lanes level = cv::v_load(levels + x);
            if (!cv::v_check_all(level > m_bright))
                cv::v_store(out + x, setOff(level, cv::v_load(out + x), smooth + x, sides));
        }
    }

    const EvenedPage &m_page;
    int m_reach;
    int m_tail; ///< how far the smoothing reaches
    Lanes m_bright;
    Lanes m_noise;
    cv::Mat m_smooth; ///< the band's rows, and more above and below for sides and smoothing
};

} // namespace

void setOffSoftLines(const EvenedPage &page, cv::Mat &result)
{
    constexpr int kRowsAtOnce = 64;
    const int reach = cvRound(kSideReach * page.dpi);
    if (page.dpi < kLeastDpi || page.sharp.cols < 2 * reach + kLineLanes)
        return;
    Band band(page, reach);
    for (int first = reach; first < page.sharp.rows - reach; first += kRowsAtOnce)
        band.setOffRows(first, std::min(first + kRowsAtOnce, page.sharp.rows - reach), result);
}

} // namespace korv
