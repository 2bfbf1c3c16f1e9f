#include "library/crop/outlines/side_refiner.h"

#include "library/crop/outlines/frame_colour.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace korv::crop {

namespace {

constexpr int kPlaces = 72; ///< along a side
constexpr double kEndsLeftOut = 0.05; ///< of a side: corners may be round or bent
constexpr int kWidth = 3; ///< neighbouring profiles that are averaged, against noise
constexpr double kInnermostStrength = 0.5; ///< of the strongest change along all the side
constexpr double kMaxCornerMove = 4; ///< a corner may move, in reaches
constexpr int kFitRounds = 6;
constexpr int kRounds = 2; ///< of looking for the rim, the second one nearer to it
constexpr double kMaxPull = 0.7; ///< of the reach, that a side may move inwards
constexpr double kMoreWhenBent = 0.15; ///< agreement that a bow must have more

/// Coefficients of a polynomial, the constant first.
using Bow = cv::Vec3d;

/// Colours along one normal of a side, from outside to inside.
using Profile = std::vector<cv::Vec3f>;

/// One side under repair: its line, and the rim's distance from it at several places.
class Side
{
public:
    Side(const Image &image, cv::Point2d from, cv::Point2d to, cv::Point2d centre)
        : m_image(image)
        , m_from(from)
        , m_to(to)
        , m_line(lineThrough(from, to))
    {
        if (m_line.distance(centre) < 0)
            m_line = lineThrough(to, from);
    }

    const Line &line() const { return m_line; }
    double agreement() const { return m_agreement; }
    /// Whether the rim is a bow, as that of curled paper.
    bool isBent() const { return m_isBent; }

    void fit(double reach, double blur)
    {
        m_reach = std::max(3, static_cast<int>(std::lround(reach)));
        m_blur = std::max(1, static_cast<int>(std::lround(blur)));
        sample();
        if (!findRim())
            return;
        measure();
        fitLine();
    }

private:
    static constexpr double at(std::size_t place)
    {
        return kEndsLeftOut + (1 - 2 * kEndsLeftOut) * static_cast<double>(place) / (kPlaces - 1);
    }

    void sample()
    {
        const cv::Point2d along = m_line.direction();
        const int count = 2 * m_reach + 1;
        m_profiles.assign(kPlaces, Profile(static_cast<std::size_t>(count)));
        m_places.resize(kPlaces);
        const double start = m_from.dot(along);
        const double end = m_to.dot(along);
        for (std::size_t i = 0; i < kPlaces; ++i) {
            m_places[i] = start + (end - start) * at(i);
            const cv::Point2d foot = m_line.normal * m_line.offset + along * m_places[i];
            for (int k = 0; k < count; ++k) {
                cv::Vec3f sum;
                for (int w = -kWidth / 2; w <= kWidth / 2; ++w)
                    sum += frameColourAt(m_image, foot + m_line.normal * (k - m_reach) + along * w);
                m_profiles[i][static_cast<std::size_t>(k)] = sum;
            }
        }
    }

    /// Change of colour at position k of a profile, over twice the blur.
    cv::Vec3f change(const Profile &profile, int k) const
    {
        cv::Vec3f sum;
        for (int i = 1; i <= m_blur; ++i) {
            sum += profile[static_cast<std::size_t>(k + i)];
            sum -= profile[static_cast<std::size_t>(k - i)];
        }
        return sum;
    }

    /// Where the rim lies on the whole and what colours change there. Writing and grain change
    /// differently at every place and cancel out; of two lasting edges the outer one is a shadow's.
    bool findRim()
    {
        const int count = 2 * m_reach + 1;
        std::vector<cv::Vec3f> mean(static_cast<std::size_t>(count));
        double strongest = 0;
        for (int k = m_blur; k + m_blur < count; ++k) {
            cv::Vec3f &sum = mean[static_cast<std::size_t>(k)];
            for (const Profile &profile : m_profiles)
                sum += change(profile, k);
            strongest = std::max(strongest, cv::norm(sum));
        }
        if (strongest < 1)
            return false;
        for (int k = count - 1 - m_blur; k >= m_blur; --k) {
            const cv::Vec3f &here = mean[static_cast<std::size_t>(k)];
            const double strength = cv::norm(here);
            if (strength < kInnermostStrength * strongest
                || (k > 0 && cv::norm(mean[static_cast<std::size_t>(k - 1)]) > strength))
                continue;
            m_rim = k;
            m_change = here * (1 / strength);
            return true;
        }
        return false;
    }

    void measure()
    {
        const int count = 2 * m_reach + 1;
        const int window = std::max(2, m_reach * 2 / 3);
        const int first = std::max(m_blur + 1, m_rim - window);
        const int last = std::min(count - 2 - m_blur, m_rim + window);
        m_offsets.assign(kPlaces, 0);
        m_strengths.assign(kPlaces, 0);
        for (std::size_t i = 0; i < kPlaces; ++i) {
            double best = 0;
            for (int k = first; k <= last; ++k) {
                const double here = change(m_profiles[i], k).dot(m_change);
                if (here <= best)
                    continue;
                best = here;
                const double before = change(m_profiles[i], k - 1).dot(m_change);
                const double behind = change(m_profiles[i], k + 1).dot(m_change);
                const double bend = before - 2 * here + behind;
                const double shift = bend < 0 ? 0.5 * (before - behind) / bend : 0;
                m_offsets[i] = k - m_reach + std::clamp(shift, -0.5, 0.5);
            }
            m_strengths[i] = best;
        }
    }

    /// Where a place lies along the side: -1 at the first one, 1 at the last.
    static double timeOf(std::size_t place)
    {
        return 2.0 * static_cast<double>(place) / (kPlaces - 1) - 1;
    }

    double finest() const { return 0.75 + 0.5 * m_blur; }

    void fitLine()
    {
        const std::optional<Bow> straight = fitted(2);
        if (!straight)
            return;
        double start = (*straight)[0];
        double slope = (*straight)[1];
        m_agreement = agreementWith(*straight);
        if (m_agreement < kStraight) {
            const std::optional<Bow> bow = fitted(3);
            const double agreement = bow ? agreementWith(*bow) : 0;
            m_isBent = agreement >= m_agreement + kMoreWhenBent && std::abs((*bow)[2]) <= m_reach;
            if (m_isBent) {
                // the line is all around the bow, so that nothing of the paper is lost
                const double corner = 1 / (1 - 2 * kEndsLeftOut);
                start = (*bow)[0] + std::min(0.0, (*bow)[2]) * corner * corner;
                slope = (*bow)[1];
                m_agreement = agreement;
            }
        }
        moveTo(start - slope, start + slope);
    }

    /// Offset by place, a polynomial of timeOf(); of two terms it is a line. Least squares, in which
    /// places far from it count ever less (Tukey).
    std::optional<Bow> fitted(int terms) const
    {
        std::vector<double> sorted = m_offsets;
        std::nth_element(sorted.begin(), sorted.begin() + kPlaces / 2, sorted.end());
        Bow bow(sorted[kPlaces / 2], 0, 0);
        double tolerance = std::max(finest(), m_reach / 2.0);
        for (int round = 0; round < kFitRounds; ++round) {
            cv::Matx33d squares = cv::Matx33d::zeros();
            cv::Vec3d products;
            for (std::size_t i = 0; i < kPlaces; ++i) {
                const double away = awayFrom(bow, i) / (2 * tolerance);
                if (m_strengths[i] <= 0 || std::abs(away) >= 1)
                    continue;
                const double weight = (1 - away * away) * (1 - away * away);
                const double t = timeOf(i);
                const cv::Vec3d powers(1, t, terms > 2 ? t * t : 0);
                squares += powers * powers.t() * weight;
                products += powers * (weight * m_offsets[i]);
            }
            if (squares(0, 0) < kPlaces / 8.0)
                return std::nullopt;
            if (terms < 3)
                squares(2, 2) = 1;
            bool isSolved = false;
            const cv::Matx33d inverse = squares.inv(cv::DECOMP_CHOLESKY, &isSolved);
            if (!isSolved)
                return std::nullopt;
            bow = inverse * products;
            tolerance = std::max(finest(), tolerance * 0.6);
        }
        return bow;
    }

    double awayFrom(const Bow &bow, std::size_t place) const
    {
        const double t = timeOf(place);
        return m_offsets[place] - bow[0] - bow[1] * t - bow[2] * t * t;
    }

    /// Share of the places whose rim lies on the bow.
    double agreementWith(const Bow &bow) const
    {
        int count = 0;
        for (std::size_t i = 0; i < kPlaces; ++i)
            count += m_strengths[i] > 0 && std::abs(awayFrom(bow, i)) <= finest() ? 1 : 0;
        return static_cast<double>(count) / kPlaces;
    }

    /// Moves the line at the first and the last place by that much, inwards.
    void moveTo(double atFirst, double atLast)
    {
        const cv::Point2d along = m_line.direction();
        const cv::Point2d first =
            m_line.normal * (m_line.offset + atFirst) + along * m_places.front();
        const cv::Point2d last = m_line.normal * (m_line.offset + atLast) + along * m_places.back();
        const Line fitted = lineThrough(first, last);
        const bool turned = fitted.normal.dot(m_line.normal) < 0;
        m_line = turned ? lineThrough(last, first) : fitted;
    }

    const Image &m_image;
    cv::Point2d m_from;
    cv::Point2d m_to;
    Line m_line; ///< the normal points inwards
    int m_reach = 0;
    int m_blur = 0;
    std::vector<Profile> m_profiles;
    std::vector<double> m_places; ///< along the line
    int m_rim = 0; ///< position in the profiles
    cv::Vec3f m_change;
    std::vector<double> m_offsets;
    std::vector<double> m_strengths;
    double m_agreement = 0;
    bool m_isBent = false;
};

/// How far the middle of each fitted side lies within the side as it was found.
std::array<double, 4> pulls(const Corners &fitted, const Corners &found)
{
    const cv::Point2d centre = centreOf(found);
    std::array<double, 4> result{};
    for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t next = (i + 1) % 4;
        const Line line = lineThrough(found[i], found[next]);
        const double inwards = line.distance(centre) > 0 ? 1 : -1;
        result[i] = inwards * line.distance((fitted[i] + fitted[next]) * 0.5);
    }
    return result;
}

/// Corners between sides of both outlines; nothing where they make none.
std::optional<Corners> mixed(const Corners &corners, const Corners &other,
                             const std::array<bool, 4> &ofOther)
{
    std::array<Line, 4> lines;
    for (std::size_t i = 0; i < 4; ++i) {
        const Corners &from = ofOther[i] ? other : corners;
        lines[i] = lineThrough(from[i], from[(i + 1) % 4]);
    }
    const std::optional<Corners> result = cornersOfLines(lines);
    return result && isConvex(*result) ? result : std::nullopt;
}

/// Puts sides back that moved inwards by more than `most`: the search hardly misses a rim by so much,
/// and what else has an edge there is print, which is stronger than the rim of pale paper.
Corners withoutPulls(const Corners &fitted, const Corners &found, double most)
{
    const std::array<double, 4> pulled = pulls(fitted, found);
    if (*std::max_element(pulled.begin(), pulled.end()) <= most)
        return fitted;
    std::array<bool, 4> isPulled{};
    std::transform(pulled.begin(), pulled.end(), isPulled.begin(),
                   [most](double pull) { return pull > most; });
    return mixed(fitted, found, isPulled).value_or(fitted);
}

/// Without regard to how far the sides move.
Refined fittedFreely(const Image &image, const Corners &corners, double reach, HelperThread &core)
{
    Refined result{corners, {}};
    std::array<double, 4> parts{1, 1, 1, 1}; ///< of the reach, for each side
    for (int round = 0; round < kRounds; ++round) {
        const Corners &now = result.corners;
        const cv::Point2d centre = centreOf(now);
        std::array<Line, 4> lines;
        std::array<double, 4> agreements{};
        std::vector<Side> sides;
        for (std::size_t i = 0; i < 4; ++i)
            sides.emplace_back(image, now[i], now[(i + 1) % 4], centre);
        core.shareRange(0, 4, [&](int first, int end) {
            for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(end); ++i)
                sides[i].fit(reach * parts[i], reach * parts[i] / 8);
        });
        for (std::size_t i = 0; i < 4; ++i) {
            lines[i] = sides[i].line();
            agreements[i] = sides[i].agreement();
            parts[i] = sides[i].isBent() ? 1 : 0.5;
        }
        const std::optional<Corners> fitted = cornersOfLines(lines);
        if (!fitted || !isConvex(*fitted)
            || largestShift(*fitted, corners) > kMaxCornerMove * reach)
            return result;
        result = {*fitted, agreements};
    }
    return result;
}

} // namespace

double Refined::leastAgreement() const
{
    return *std::min_element(agreements.begin(), agreements.end());
}

double Refined::meanAgreement() const
{
    return std::accumulate(agreements.begin(), agreements.end(), 0.0) / 4;
}

Refined withSidesOf(const Refined &other, const std::array<bool, 4> &sides, Refined outline)
{
    const std::optional<Corners> corners = mixed(outline.corners, other.corners, sides);
    if (!corners)
        return outline;
    outline.corners = *corners;
    for (std::size_t i = 0; i < 4; ++i) {
        if (sides[i])
            outline.agreements[i] = other.agreements[i];
    }
    return outline;
}

Refined refineCorners(const Image &image, const Corners &corners, double reach, HelperThread &core)
{
    Refined result = fittedFreely(image, corners, reach, core);
    result.corners = withoutPulls(result.corners, corners, kMaxPull * reach);
    return result;
}

} // namespace korv::crop
