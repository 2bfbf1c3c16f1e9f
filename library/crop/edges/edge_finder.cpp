// In: three planes of the search picture. Out: its edges, which are the pixels on a ridge of change
// (Canny's thinning, without his linking) that stand out from their neighbourhood, with the
// direction of the change and a weight.
//
// Each pixel counts with the plane in which Sobel's operator answers most; luma's answer is halved.
// There is no fixed threshold beyond noise: an edge is as strong as 5/4 of the mean around it, so
// that the grain of a desk raises the bar where it lies and nowhere else. kNeighbourhood is 1/16 of
// the long side: larger than the grain of wood or cloth, smaller than a sheet. kHeaviest keeps a
// few very strong edges, such as a cable's, from outvoting a long faint one. The values belong to
// the search picture's size, and the weights were fitted with them (docs/crop.md).

#include "library/crop/edges/edge_finder.h"

#include <algorithm>

#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kNeighbourhood = 41;
constexpr int kAboveNeighbourhood = 5; ///< in quarters of the neighbourhood's mean
constexpr int kFaintest = 5; ///< half of a Sobel response: a step of about three levels
constexpr float kHeaviest = 3;

constexpr int kChangeLanes = 8; ///< pixels whose change is found at once
constexpr int kWideLanes = 16; ///< pixels whose strength is judged at once

/// Three rows of a plane, the middle one with the pixels in question.
struct Rows
{
    const std::uint8_t *above;
    const std::uint8_t *here;
    const std::uint8_t *below;

    Rows(const cv::Mat &plane, int row)
        : above(plane.ptr<std::uint8_t>(row - 1))
        , here(plane.ptr<std::uint8_t>(row))
        , below(plane.ptr<std::uint8_t>(row + 1))
    {
    }
};

/// How kChangeLanes pixels change, in the plane where each changes most.
struct Changes
{
    cv::v_int16x8 x = cv::v_setzero_s16();
    cv::v_int16x8 y = cv::v_setzero_s16();
    cv::v_int16x8 strength = cv::v_setzero_s16(); ///< up to 255
};

cv::v_int16x8 levelsAt(const std::uint8_t *pixels)
{
    return cv::v_reinterpret_as_s16(cv::v_load_expand(pixels));
}

/// Magnitude of a change; changes stay far from the smallest int, which has no positive twin.
cv::v_int16x8 absolute(const cv::v_int16x8 &change)
{
    return cv::v_reinterpret_as_s16(cv::v_abs(change));
}

/// Takes over Sobel's change of a plane where it is larger. Half of luma's: the colour differences
/// are half as noisy and seldom disturbed by shadows.
template <bool kLuma>
[[gnu::always_inline]] inline void keepLarger(const Rows &rows, int at, Changes &changes)
{
    const cv::v_int16x8 upperLeft = levelsAt(rows.above + at - 1);
    const cv::v_int16x8 upperRight = levelsAt(rows.above + at + 1);
    const cv::v_int16x8 lowerLeft = levelsAt(rows.below + at - 1);
    const cv::v_int16x8 lowerRight = levelsAt(rows.below + at + 1);
    const cv::v_int16x8 across = levelsAt(rows.here + at + 1) - levelsAt(rows.here + at - 1);
    const cv::v_int16x8 down = levelsAt(rows.below + at) - levelsAt(rows.above + at);
    const cv::v_int16x8 changeX = upperRight - upperLeft + across + across + lowerRight - lowerLeft;
    const cv::v_int16x8 changeY = lowerLeft - upperLeft + down + down + lowerRight - upperRight;
    // long side plus 3/8 of the short one is the length to 7 %, and needs no root
    const cv::v_int16x8 a = absolute(changeX);
    const cv::v_int16x8 b = absolute(changeY);
    const cv::v_int16x8 shorter = cv::v_min(a, b);
    const cv::v_int16x8 length = cv::v_max(a, b) + ((shorter + shorter + shorter) >> 3);
    const cv::v_int16x8 weighed = kLuma ? length >> 1 : length;
    const cv::v_int16x8 limited = cv::v_min(weighed, cv::v_setall_s16(255));
    const cv::v_int16x8 larger = limited > changes.strength;
    changes.x = cv::v_select(larger, changeX, changes.x);
    changes.y = cv::v_select(larger, changeY, changes.y);
    changes.strength = cv::v_max(limited, changes.strength);
}

/// The sectors in which eight changes point, as masks.
struct Sectors
{
    cv::v_int16x8 across; ///< to the side at least
    cv::v_int16x8 along; ///< up or down at least; with the former on the diagonal
    cv::v_int16x8 falling; ///< the diagonal from upper right to lower left

    Sectors(const std::int16_t *changeX, const std::int16_t *changeY)
    {
        const cv::v_int16x8 x = cv::v_load(changeX);
        const cv::v_int16x8 y = cv::v_load(changeY);
        const cv::v_int16x8 ax = absolute(x);
        const cv::v_int16x8 ay = absolute(y);
        across = ax + ax > ay;
        along = ay + ay > ax;
        falling = (x ^ y) < cv::v_setzero_s16();
    }
};

cv::v_uint8x16 packed(const cv::v_int16x8 &first, const cv::v_int16x8 &second)
{
    return cv::v_reinterpret_as_u8(cv::v_pack(first, second));
}

unsigned int bitsOf(const cv::v_uint8x16 &mask)
{
    return static_cast<unsigned int>(cv::v_signmask(cv::v_reinterpret_as_s8(mask)));
}

/// Which of kWideLanes pixels have the strength's ridge in them, looking along the change; a bit
/// each. All their neighbours exist.
unsigned int ridgeBits(const Rows &strength, int at, const std::int16_t *x, const std::int16_t *y)
{
    const Sectors first(x, y);
    const Sectors second(x + kChangeLanes, y + kChangeLanes);
    const cv::v_uint8x16 across = packed(first.across, second.across);
    const cv::v_uint8x16 along = packed(first.along, second.along);
    const cv::v_uint8x16 falling = packed(first.falling, second.falling);
    const auto pick = [&](const std::uint8_t *side, const std::uint8_t *end,
                          const std::uint8_t *rising, const std::uint8_t *fallen) {
        const cv::v_uint8x16 diagonal =
            cv::v_select(falling, cv::v_load(fallen), cv::v_load(rising));
        return cv::v_select(across, cv::v_select(along, diagonal, cv::v_load(side)),
                            cv::v_load(end));
    };
    const std::uint8_t *above = strength.above + at;
    const std::uint8_t *here = strength.here + at;
    const std::uint8_t *below = strength.below + at;
    const cv::v_uint8x16 next = pick(here + 1, below, below + 1, above + 1);
    const cv::v_uint8x16 before = pick(here - 1, above, above - 1, below - 1);
    const cv::v_uint8x16 middle = cv::v_load(here);
    return bitsOf((middle >= next) & (middle > before));
}

/// Which of eight pixels stand out from their neighbourhoods.
cv::v_uint16x8 strong(const cv::v_uint16x8 &strength, const cv::v_uint16x8 &mean)
{
    return (strength >= cv::v_setall_u16(kFaintest))
        & ((strength << 2) >= cv::v_mul_wrap(mean, cv::v_setall_u16(kAboveNeighbourhood)));
}

/// Which of kWideLanes pixels stand out, a bit each.
unsigned int strongBits(const std::uint8_t *strength, const std::uint8_t *mean)
{
    cv::v_uint16x8 here[2];
    cv::v_uint16x8 around[2];
    cv::v_expand(cv::v_load(strength), here[0], here[1]);
    cv::v_expand(cv::v_load(mean), around[0], around[1]);
    const auto first = cv::v_reinterpret_as_s16(strong(here[0], around[0]));
    const auto second = cv::v_reinterpret_as_s16(strong(here[1], around[1]));
    return bitsOf(packed(first, second));
}

/// The change of some rows of a picture, and the edges in them.
class Band
{
public:
    /// The rows from `first` up to `end`, and as many around them as their neighbourhoods take.
    Band(const Planes &planes, int first, int end)
        : m_start(std::max(0, first - kNeighbourhood / 2))
        , m_x(std::min(planes[0].rows, end + kNeighbourhood / 2) - m_start, planes[0].cols,
              CV_16SC1)
        , m_y(m_x.size(), CV_16SC1)
        , m_strength(m_x.size(), CV_8UC1)
    {
        for (int row = 0; row < m_strength.rows; ++row) {
            const int line = m_start + row;
            if (line == 0 || line + 1 == planes[0].rows)
                m_strength.row(row) = 0;
            else
                fillRow(planes, line);
        }
        cv::boxFilter(m_strength, m_around, -1, cv::Size(kNeighbourhood, kNeighbourhood));
    }

    void addEdges(int y, std::vector<Edge> &edges) const
    {
        const int row = y - m_start;
        const Rows strength(m_strength, row);
        const auto *mean = m_around.ptr<std::uint8_t>(row);
        const auto *changeX = m_x.ptr<std::int16_t>(row);
        const auto *changeY = m_y.ptr<std::int16_t>(row);
        const int columns = m_strength.cols;
        for (int start = 1; start < columns - 1; start += kWideLanes) {
            const int at = std::min(start, columns - 1 - kWideLanes);
            unsigned int bits = strongBits(strength.here + at, mean + at);
            bits &= ~0U << (start - at); // those before were seen
            if (bits != 0)
                bits &= ridgeBits(strength, at, changeX + at, changeY + at);
            for (; bits != 0; bits &= bits - 1) {
                const int x = at + __builtin_ctz(bits);
                edges.push_back(
                    edgeAt(x, y, strength.here[x], mean[x], cv::fastAtan2(changeY[x], changeX[x])));
            }
        }
    }

private:
    void fillRow(const Planes &planes, int line)
    {
        const Rows luma(planes[0], line);
        const Rows red(planes[1], line);
        const Rows blue(planes[2], line);
        auto *x = m_x.ptr<std::int16_t>(line - m_start);
        auto *y = m_y.ptr<std::int16_t>(line - m_start);
        auto *strength = m_strength.ptr<std::uint8_t>(line - m_start);
        const int columns = m_strength.cols;
        for (int start = 1; start < columns - 1; start += kChangeLanes) {
            // the last lanes overlap those before: doing a pixel twice does not matter
            const int at = std::min(start, columns - 1 - kChangeLanes);
            Changes changes;
            keepLarger<false>(red, at, changes);
            keepLarger<false>(blue, at, changes);
            keepLarger<true>(luma, at, changes);
            cv::v_store(x + at, changes.x);
            cv::v_store(y + at, changes.y);
            cv::v_pack_u_store(strength + at, changes.strength);
        }
        strength[0] = 0;
        strength[columns - 1] = 0;
    }

    static Edge edgeAt(int x, int y, int strength, int mean, float degrees)
    {
        const float limit = std::max(static_cast<float>(kAboveNeighbourhood * mean) / 4,
                                     static_cast<float>(kFaintest));
        const float weight = std::min(static_cast<float>(strength) / limit, kHeaviest);
        return {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                degrees >= 180 ? degrees - 180 : degrees, weight};
    }

    int m_start; ///< the picture's row that is the first here
    cv::Mat m_x; ///< of the change; on the picture's border nothing
    cv::Mat m_y;
    cv::Mat m_strength; ///< zero on the picture's border, which is never an edge
    cv::Mat m_around; ///< its mean over the neighbourhood
};

std::vector<Edge> edgesIn(const Planes &planes, HelperThread &core)
{
    const int rows = planes[0].rows;
    if (planes[0].cols < kWideLanes + 2 || rows < 3)
        return {}; // nobody searches so narrow a picture
    const auto find = [&](int first, int end, std::vector<Edge> &edges) {
        edges.reserve(static_cast<std::size_t>((end - first) * planes[0].cols / 8));
        const Band band(planes, first, end);
        for (int y = first; y < end; ++y)
            band.addEdges(y, edges);
    };
    return core.collect<Edge>(1, rows - 1, find);
}

} // namespace

std::vector<Edge> EdgeFinder::closed() const
{
    return edgesIn(m_picture.closed, m_core);
}

std::vector<Edge> EdgeFinder::plain() const
{
    cv::Mat luma;
    cv::GaussianBlur(m_picture.plainLuma, luma, cv::Size(3, 3), 0);
    return edgesIn({luma, m_picture.closed[1], m_picture.closed[2]}, m_core);
}

} // namespace korv::crop
