// In: the edges of the search picture. Out: up to 220 lines through many of them, as fine as a
// cell: one degree by two pixels (Hough's transform, in which an edge votes only for lines that its
// own direction allows, within two degrees).
//
// kMinVotes asks for 24 faint edges in a row or eight heavy ones, the length from which line_finder
// takes up a run. kPeaksTried is more than the 56 lines kept there, because votes rank lines worse
// than their runs do. The values belong to the search picture's size, and the weights were fitted
// with them (docs/crop.md).

#include "library/crop/lines/line_votes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/core/hal/intrin.hpp>

namespace korv::crop {

namespace {

constexpr int kAngles = 180; ///< a degree each
constexpr int kVoteSpread = 2; ///< an edge's own direction is that unsure, in angles
constexpr int kPeakReach = 2; ///< angles to either side that a peak exceeds
constexpr double kRhoStep = 2;
constexpr int kPeaksTried = 220;
constexpr float kMinVotes = 24; ///< of a line
constexpr int kCellLanes = 8; ///< cells that are looked at at once

/// Votes of edges for the lines through them (Hough).
class Accumulator
{
public:
    explicit Accumulator(cv::Size size)
        : m_reach(std::hypot(size.width, size.height))
        , m_columns(static_cast<int>(2 * m_reach / kRhoStep) + 3)
        , m_votes(static_cast<std::size_t>(kAngles * m_columns), 0.0F)
    {
        for (int i = 0; i < kAngles; ++i) {
            m_cosine[static_cast<std::size_t>(i)] = static_cast<float>(std::cos(angleOf(i)));
            m_sine[static_cast<std::size_t>(i)] = static_cast<float>(std::sin(angleOf(i)));
        }
    }

    static double angleOf(int index) { return index * CV_PI / kAngles; }

    /// Direction by direction: the votes for one fit into the processor's nearest cache.
    void vote(const std::vector<Edge> &edges)
    {
        std::array<std::vector<const Edge *>, kAngles> ofAngle;
        for (const Edge &edge : edges) {
            const auto nearest = static_cast<std::size_t>(edge.degrees * kAngles / 180 + 0.5F);
            ofAngle[nearest % kAngles].push_back(&edge);
        }
        for (int angle = 0; angle < kAngles; ++angle) {
            for (int k = angle - kVoteSpread; k <= angle + kVoteSpread; ++k)
                voteFor(angle, ofAngle[static_cast<std::size_t>((k + kAngles) % kAngles)]);
        }
    }

    struct Peak
    {
        float votes = 0;
        int angle = 0;
        int column = 0;
    };

    /// Cells above their surroundings, strongest first.
    std::vector<Peak> peaks() const
    {
        std::vector<Peak> result;
        for (int i = 0; i < kAngles; ++i) {
            for (int start = 2; start < m_columns - 2; start += kCellLanes) {
                const int end = std::min(start + kCellLanes, m_columns - 2);
                if (end - start == kCellLanes && !anyLikely(i, start))
                    continue;
                for (int column = start; column < end; ++column) {
                    const float here = at(i, column);
                    if (here >= kMinVotes && isPeak(i, column, here))
                        result.push_back({here, i, column});
                }
            }
        }
        const std::size_t count = std::min<std::size_t>(result.size(), kPeaksTried);
        std::partial_sort(result.begin(), result.begin() + static_cast<std::ptrdiff_t>(count),
                          result.end(), [](const Peak &a, const Peak &b) {
                              return a.votes != b.votes
                                  ? a.votes > b.votes
                                  : a.angle * 100'000 + a.column < b.angle * 100'000 + b.column;
                          });
        result.resize(count);
        return result;
    }

    Line lineOf(const Peak &peak) const
    {
        const double angle = angleOf(peak.angle);
        return {{std::cos(angle), std::sin(angle)}, (peak.column - 1) * kRhoStep - m_reach};
    }

private:
    void voteFor(int angle, const std::vector<const Edge *> &edges)
    {
        constexpr auto kPerPixel = static_cast<float>(1 / kRhoStep);
        const float cosine = m_cosine[static_cast<std::size_t>(angle)] * kPerPixel;
        const float sine = m_sine[static_cast<std::size_t>(angle)] * kPerPixel;
        const float shift = static_cast<float>(m_reach) * kPerPixel + 1.5F;
        float *votes = m_votes.data() + std::ptrdiff_t{angle} * m_columns;
        for (const Edge *edge : edges) {
            const float column =
                static_cast<float>(edge->x) * cosine + static_cast<float>(edge->y) * sine + shift;
            votes[static_cast<int>(column)] += edge->weight;
        }
    }

    float at(int angle, int column) const
    {
        // half a turn on, a line's normal points the other way
        if (angle < 0 || angle >= kAngles) {
            angle = (angle + kAngles) % kAngles;
            column = m_columns - 1 - column;
        }
        return m_votes[static_cast<std::size_t>(angle * m_columns + column)];
    }

    /// Whether one of kCellLanes cells is worth a closer look; few are.
    bool anyLikely(int angle, int column) const
    {
        const float *votes = &m_votes[static_cast<std::size_t>(angle * m_columns + column)];
        return cv::v_check_any(cv::v_max(cv::v_load(votes), cv::v_load(votes + kCellLanes / 2))
                               >= cv::v_setall_f32(kMinVotes));
    }

    bool isPeak(int angle, int column, float here) const
    {
        for (int i = -kPeakReach; i <= kPeakReach; ++i) {
            for (int k = -1; k <= 1; ++k) {
                const float other = at(angle + i, column + k);
                const bool before = i < 0 || (i == 0 && k < 0);
                if (other > here || (other == here && before))
                    return false;
            }
        }
        return true;
    }

    double m_reach;
    int m_columns;
    std::vector<float> m_votes;
    std::array<float, kAngles> m_cosine{};
    std::array<float, kAngles> m_sine{};
};

} // namespace

std::vector<Line> likelyLines(const std::vector<Edge> &edges, cv::Size size)
{
    Accumulator accumulator(size);
    accumulator.vote(edges);
    std::vector<Line> lines;
    for (const Accumulator::Peak &peak : accumulator.peaks())
        lines.push_back(accumulator.lineOf(peak));
    return lines;
}

} // namespace korv::crop
