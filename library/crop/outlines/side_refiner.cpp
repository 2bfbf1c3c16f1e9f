#include "library/crop/outlines/side_refiner.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace korv::crop {

namespace {

constexpr int kPlaces = 72; ///< along a side
constexpr double kEndsLeftOut = 0.05; ///< of a side: corners may be round or bent
constexpr int kWidth = 3; ///< neighbouring profiles that are averaged, against noise
constexpr double kInnermostStrength = 0.5; ///< of the strongest change along all the side
constexpr double kMaxCornerMove = 4; ///< a corner may move, in reaches
constexpr int kFitRounds = 6;

/// Colours along one normal of a side, from outside to inside.
using Profile = std::vector<cv::Vec3f>;

cv::Vec3f pixelAt(const Image &image, cv::Point2d point)
{
    const int x = std::clamp(static_cast<int>(point.x + 0.5), 0, image.width() - 1);
    const int y = std::clamp(static_cast<int>(point.y + 0.5), 0, image.height() - 1);
    const int channels = image.channels();
    const std::uint8_t *pixel = image.row(y) + std::ptrdiff_t{x} * channels;
    if (channels == 1) {
        const auto level = static_cast<float>(pixel[0]);
        return {level, level, level};
    }
    return {static_cast<float>(pixel[0]), static_cast<float>(pixel[1]),
            static_cast<float>(pixel[2])};
}

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
                    sum += pixelAt(m_image, foot + m_line.normal * (k - m_reach) + along * w);
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

    /// Least squares, in which places far from the line count ever less (Tukey).
    void fitLine()
    {
        const double middle = (m_places.front() + m_places.back()) / 2;
        std::vector<double> sorted = m_offsets;
        std::nth_element(sorted.begin(), sorted.begin() + kPlaces / 2, sorted.end());
        double start = sorted[kPlaces / 2];
        double slope = 0;
        const double finest = 0.75 + 0.5 * m_blur;
        double tolerance = std::max(finest, m_reach / 2.0);
        for (int round = 0; round < kFitRounds; ++round) {
            double sums[5] = {};
            for (std::size_t i = 0; i < kPlaces; ++i) {
                const double t = m_places[i] - middle;
                const double away = (m_offsets[i] - start - slope * t) / (2 * tolerance);
                if (m_strengths[i] <= 0 || std::abs(away) >= 1)
                    continue;
                const double weight = (1 - away * away) * (1 - away * away);
                sums[0] += weight;
                sums[1] += weight * t;
                sums[2] += weight * t * t;
                sums[3] += weight * m_offsets[i];
                sums[4] += weight * m_offsets[i] * t;
            }
            const double spread = sums[0] * sums[2] - sums[1] * sums[1];
            if (sums[0] < kPlaces / 8.0 || spread <= 0)
                return;
            slope = (sums[0] * sums[4] - sums[1] * sums[3]) / spread;
            start = (sums[3] - slope * sums[1]) / sums[0];
            tolerance = std::max(finest, tolerance * 0.6);
        }
        countAgreeing(start, slope, middle, finest);
        const cv::Point2d along = m_line.direction();
        const auto moved = [&](double place) {
            return m_line.normal * (m_line.offset + start + slope * (place - middle))
                + along * place;
        };
        const cv::Point2d first = moved(m_places.front());
        const cv::Point2d last = moved(m_places.back());
        const Line fitted = lineThrough(first, last);
        const bool turned = fitted.normal.dot(m_line.normal) < 0;
        m_line = turned ? lineThrough(last, first) : fitted;
    }

    void countAgreeing(double start, double slope, double middle, double tolerance)
    {
        int count = 0;
        for (std::size_t i = 0; i < kPlaces; ++i) {
            const double away = m_offsets[i] - start - slope * (m_places[i] - middle);
            count += m_strengths[i] > 0 && std::abs(away) <= tolerance ? 1 : 0;
        }
        m_agreement = static_cast<double>(count) / kPlaces;
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
};

std::optional<Corners> cornersOfLines(const std::array<Line, 4> &lines)
{
    Corners corners;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::optional<cv::Point2d> point = intersection(lines[(i + 3) % 4], lines[i]);
        if (!point)
            return std::nullopt;
        corners[i] = *point;
    }
    return corners;
}

} // namespace

Refined refineCorners(const Image &image, const Corners &corners, double reach, HelperThread &core)
{
    Refined result{corners, 0, 0};
    for (const double part : {1.0, 0.5}) {
        const Corners &now = result.corners;
        const cv::Point2d centre = centreOf(now);
        std::array<Line, 4> lines;
        double least = 1;
        double mean = 0;
        std::vector<Side> sides;
        for (std::size_t i = 0; i < 4; ++i)
            sides.emplace_back(image, now[i], now[(i + 1) % 4], centre);
        core.shareRange(0, 4, [&](int first, int end) {
            for (int i = first; i < end; ++i)
                sides[static_cast<std::size_t>(i)].fit(reach * part, reach * part / 8);
        });
        for (std::size_t i = 0; i < 4; ++i) {
            lines[i] = sides[i].line();
            least = std::min(least, sides[i].agreement());
            mean += sides[i].agreement() / 4;
        }
        const std::optional<Corners> fitted = cornersOfLines(lines);
        if (!fitted || !isConvex(*fitted)
            || largestShift(*fitted, corners) > kMaxCornerMove * reach)
            return result;
        result = {*fitted, least, mean};
    }
    return result;
}

} // namespace korv::crop
