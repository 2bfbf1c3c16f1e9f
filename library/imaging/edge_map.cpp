#include "library/imaging/edge_map.h"

#include "library/imaging/two_cores.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kNeighbourhood = 41;
constexpr int kAboveNeighbourhood = 5; ///< in quarters of the neighbourhood's mean
constexpr int kFaintest = 5; ///< half of a Sobel response: a step of about three levels
constexpr float kHeaviest = 3;
constexpr int kChromaGain = 2; ///< half as noisy as luma and seldom disturbed by shadows
constexpr double kDirectionDegrees = 180.0 / kDirections;
constexpr double kDoubt = 0.8 * kDirectionDegrees; ///< in an edge's own direction

constexpr int kLanes = 8; ///< pixels that are worked on at once

/// Three rows of a plane, the middle one with the pixels in question.
struct Rows
{
    const std::uint8_t *above;
    const std::uint8_t *here;
    const std::uint8_t *below;
};

cv::v_int16x8 levelsAt(const std::uint8_t *pixels)
{
    return cv::v_reinterpret_as_s16(cv::v_load_expand(pixels));
}

/// Sobel's change of kLanes pixels; stored where it is larger than what is there.
void keepLargerHere(const Rows &rows, int at, int gain, std::int16_t *x, std::int16_t *y,
                    std::int16_t *strength)
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
    const cv::v_int16x8 zero = cv::v_setzero_s16();
    const cv::v_int16x8 a = cv::v_max(changeX, zero - changeX);
    const cv::v_int16x8 b = cv::v_max(changeY, zero - changeY);
    const cv::v_int16x8 shorter = cv::v_min(a, b);
    const cv::v_int16x8 length = cv::v_max(a, b) + ((shorter + shorter + shorter) >> 3);
    const cv::v_int16x8 halved = gain == 1 ? length >> 1 : length;
    const cv::v_int16x8 limited = cv::v_min(halved, cv::v_setall_s16(255));
    const cv::v_int16x8 before = cv::v_load(strength);
    const cv::v_int16x8 larger = limited > before;
    cv::v_store(x, cv::v_select(larger, changeX, cv::v_load(x)));
    cv::v_store(y, cv::v_select(larger, changeY, cv::v_load(y)));
    cv::v_store(strength, cv::v_max(limited, before));
}

/// Columns whose strength stands out from the neighbourhood's; how many they are.
std::size_t markStrong(const std::int16_t *strength, const std::int16_t *mean, int columns,
                       std::vector<std::int16_t> &strong)
{
    std::size_t count = 0;
    for (int x = 1; x + 1 < columns; ++x) {
        // always written, kept only when it counts: no branch to be guessed wrong
        strong[count] = static_cast<std::int16_t>(x);
        const bool isStrong =
            strength[x] >= kFaintest && 4 * strength[x] >= kAboveNeighbourhood * mean[x];
        count += isStrong ? 1U : 0U;
    }
    return count;
}

/// Whether the strength has its ridge in the middle row's column x, looking along the change.
bool isRidge(const std::array<const std::int16_t *, 3> &strength, int x, int changeX, int changeY)
{
    const int ax = std::abs(changeX);
    const int ay = std::abs(changeY);
    const int dx = ax * 2 > ay ? 1 : 0;
    int dy = dx == 0 ? 1 : 0;
    if (dx != 0 && ay * 2 > ax)
        dy = (changeX >= 0) == (changeY >= 0) ? 1 : -1;
    const int here = strength[1][x];
    return here >= strength[static_cast<std::size_t>(1 + dy)][x + dx]
        && here > strength[static_cast<std::size_t>(1 - dy)][x - dx];
}

/// Bits of all directions that an edge of so many whole degrees may belong to.
std::array<std::uint16_t, 181> bitsOfDegrees()
{
    std::array<std::uint16_t, 181> bits{};
    for (std::size_t i = 0; i < bits.size(); ++i) {
        for (const double doubt : {-kDoubt, 0.0, kDoubt}) {
            bits[i] = static_cast<std::uint16_t>(
                bits[i] | EdgeMap::directionBit((static_cast<double>(i) + doubt) * CV_PI / 180));
        }
    }
    return bits;
}

} // namespace

EdgeFinder::EdgeFinder(const SearchPicture &picture)
    : m_picture(picture)
    , m_chroma(gradientOf(picture.closed))
{
}

std::vector<Edge> EdgeFinder::closed() const
{
    return withLuma(m_picture.closed[0]);
}

std::vector<Edge> EdgeFinder::plain() const
{
    return withLuma(m_picture.plainLuma);
}

EdgeFinder::Gradient EdgeFinder::gradientOf(const Planes &planes)
{
    Gradient gradient;
    for (cv::Mat *each : {&gradient.x, &gradient.y, &gradient.strength})
        *each = cv::Mat::zeros(planes[0].size(), CV_16SC1);
    keepLarger(gradient, planes[1], kChromaGain);
    keepLarger(gradient, planes[2], kChromaGain);
    return gradient;
}

void EdgeFinder::keepLarger(Gradient &gradient, const cv::Mat &plane, int gain)
{
    if (plane.cols < kLanes + 2)
        return; // nobody searches so narrow a picture
    for (int row = 1; row + 1 < plane.rows; ++row) {
        const Rows rows{plane.ptr<std::uint8_t>(row - 1), plane.ptr<std::uint8_t>(row),
                        plane.ptr<std::uint8_t>(row + 1)};
        auto *x = gradient.x.ptr<std::int16_t>(row);
        auto *y = gradient.y.ptr<std::int16_t>(row);
        auto *strength = gradient.strength.ptr<std::int16_t>(row);
        const int last = plane.cols - 1 - kLanes;
        for (int i = 1; i < plane.cols - 1; i += kLanes) {
            // the last lanes overlap those before: doing a pixel twice does not matter
            const int at = std::min(i, last);
            keepLargerHere(rows, at, gain, x + at, y + at, strength + at);
        }
    }
}

std::vector<Edge> EdgeFinder::withLuma(const cv::Mat &luma) const
{
    Gradient gradient{m_chroma.x.clone(), m_chroma.y.clone(), m_chroma.strength.clone()};
    keepLarger(gradient, luma, 1);
    cv::Mat around;
    cv::boxFilter(gradient.strength, around, -1, cv::Size(kNeighbourhood, kNeighbourhood));
    std::vector<Edge> edges;
    std::vector<Edge> lower;
    const int half = luma.rows / 2;
    onTwoCores([&] { lower = edgesOfRows(gradient, around, half, luma.rows - 1); },
               [&] { edges = edgesOfRows(gradient, around, 1, half); });
    edges.insert(edges.end(), lower.begin(), lower.end());
    return edges;
}

std::vector<Edge> EdgeFinder::edgesOfRows(const Gradient &gradient, const cv::Mat &around,
                                          int first, int end)
{
    std::vector<Edge> edges;
    edges.reserve(around.total() / 8);
    std::vector<std::int16_t> strong(static_cast<std::size_t>(around.cols));
    for (int y = first; y < end; ++y) {
        const auto *strength = gradient.strength.ptr<std::int16_t>(y);
        const auto *mean = around.ptr<std::int16_t>(y);
        const auto *changeX = gradient.x.ptr<std::int16_t>(y);
        const auto *changeY = gradient.y.ptr<std::int16_t>(y);
        const std::array<const std::int16_t *, 3> rows = {
            gradient.strength.ptr<std::int16_t>(y - 1), strength,
            gradient.strength.ptr<std::int16_t>(y + 1)};
        const std::size_t count = markStrong(strength, mean, around.cols, strong);
        for (std::size_t i = 0; i < count; ++i) {
            const int x = strong[i];
            if (!isRidge(rows, x, changeX[x], changeY[x]))
                continue;
            float degrees = cv::fastAtan2(changeY[x], changeX[x]);
            if (degrees >= 180)
                degrees -= 180;
            const float limit = std::max(static_cast<float>(kAboveNeighbourhood * mean[x]) / 4,
                                         static_cast<float>(kFaintest));
            const float weight = std::min(static_cast<float>(strength[x]) / limit, kHeaviest);
            edges.push_back(
                {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), degrees, weight});
        }
    }
    return edges;
}

EdgeMap::EdgeMap(cv::Size size)
    : m_directions(cv::Mat::zeros(size, CV_16UC1))
    , m_steps(size, CV_8UC2, cv::Scalar(kZeroStep, kZeroStep))
{
}

std::uint16_t EdgeMap::directionBit(double angle)
{
    const int index = static_cast<int>(std::floor(angle / CV_PI * kDirections)) % kDirections;
    return static_cast<std::uint16_t>(1U << ((index + kDirections) % kDirections));
}

void EdgeMap::add(const std::vector<Edge> &edges)
{
    static const std::array<std::uint16_t, 181> kBits = bitsOfDegrees();
    for (const Edge &edge : edges) {
        const std::uint16_t bits = kBits[static_cast<std::size_t>(edge.degrees)];
        for (int y = edge.y - 1; y <= edge.y + 1; ++y) {
            auto *directions = m_directions.ptr<std::uint16_t>(y) + edge.x - 1;
            auto *steps = m_steps.ptr<cv::Vec2b>(y) + edge.x - 1;
            for (int i = 0; i < 3; ++i) {
                directions[i] = static_cast<std::uint16_t>(directions[i] | bits);
                steps[i] = {static_cast<std::uint8_t>(kZeroStep + 1 - i),
                            static_cast<std::uint8_t>(kZeroStep + edge.y - y)};
            }
        }
    }
    for (const Edge &edge : edges) // nearer edges win
        m_steps.at<cv::Vec2b>(edge.y, edge.x) = {kZeroStep, kZeroStep};
}

} // namespace korv::crop
