// In: likely lines, the map of edges, the colours of the search picture. Out: at most 56 different
// lines that may hold a side of the sheet, each with its densest run and how steady the colours'
// step across it is.
//
// A line is fitted twice by least squares to the edges of its run, which brings it from a cell's
// width to below a pixel. Then the best are taken, at most 10 of each 15 degrees: the grain of a
// desk would else fill all places. Half of the places go by length and half by contrast, since a
// sheet's side may be long and faint or short and clear. 56 lines keep the number of outlines that
// quad_finder forms of them small enough to judge each. Distances are in pixels of the search
// picture, and the weights were fitted with them (docs/crop.md).

#include "library/crop/lines/line_finder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace korv::crop {

namespace {

constexpr int kRefinements = 2;
constexpr int kSectors = 12;
constexpr std::size_t kPerSector = 10;
constexpr std::size_t kMaxLines = 56;
constexpr double kSameDistance = 3;
constexpr double kSameCosine = 0.999; // 2.6 degrees
constexpr double kTangentCosine = 0.985; // 10 degrees
constexpr int kFixedBits = 16; ///< of a pixel
constexpr double kShortest = 24; ///< of uninterrupted edge
constexpr double kColourReach = 5; ///< pixels to either side of a line
constexpr double kStepSpacing = 3;
constexpr double kUsualStep = 15; ///< levels
constexpr double kUsualRun = 100; ///< longer runs say little more
constexpr double kUnsteadyWorth = 0.2; ///< of a line without any steady step across

/// The part of a line that is most densely covered by edges of its direction.
struct Run
{
    Span span;
    double score = 0;
};

Run bestRun(const Line &line, const EdgeMap &map)
{
    const Span span = spanWithin(line, map.size(), 1);
    const std::uint16_t bit = EdgeMap::directionBit(std::atan2(line.normal.y, line.normal.x));
    const auto fixed = [](double value) {
        return static_cast<int>(std::lround(value * (1 << kFixedBits)));
    };
    const int stepX = fixed(line.direction().x);
    const int stepY = fixed(line.direction().y);
    const cv::Point2d start = pointAt(line, span.from);
    int x = fixed(start.x + 0.5);
    int y = fixed(start.y + 0.5);
    Run best;
    double score = 0;
    double from = span.from;
    for (double along = span.from; along < span.to; along += 1, x += stepX, y += stepY) {
        // a gap costs more than an edge earns: scattered grain must not add up to a side
        score += map.has(x >> kFixedBits, y >> kFixedBits, bit) ? 1.0 : -1.5;
        if (score <= 0) {
            score = 0;
            from = along + 1;
        } else if (score > best.score) {
            best = {{from, along}, score};
        }
    }
    return best;
}

/// Least squares through the edges near the run; the peak itself is only as fine as its cell.
Line refined(const Line &line, const Run &run, const EdgeMap &map)
{
    double count = 0;
    double sumT = 0;
    double sumTt = 0;
    double sumD = 0;
    double sumTd = 0;
    const cv::Point2d direction = line.direction();
    cv::Point2d point = pointAt(line, run.span.from);
    for (double t = 0; t <= run.span.to - run.span.from; t += 1, point += direction) {
        const cv::Point pixel(static_cast<int>(point.x + 0.5), static_cast<int>(point.y + 0.5));
        if (!map.hasAny(pixel.x, pixel.y))
            continue;
        const double d = line.distance(pixel + map.step(pixel.x, pixel.y));
        count += 1;
        sumT += t;
        sumTt += t * t;
        sumD += d;
        sumTd += t * d;
    }
    const double spread = count * sumTt - sumT * sumT;
    if (count < 8 || spread <= 0)
        return line;
    const double slope = (count * sumTd - sumT * sumD) / spread;
    const double start = (sumD - slope * sumT) / count;
    const double reach = run.span.to - run.span.from;
    return lineThrough(pointAt(line, run.span.from) + line.normal * start,
                       pointAt(line, run.span.to) + line.normal * (start + slope * reach));
}

/// The same side found twice, or another tangent of the same curve.
bool isSame(const FoundLine &found, const FoundLine &chosen, cv::Size size)
{
    const double cosine = std::abs(found.line.normal.dot(chosen.line.normal));
    const cv::Point2d middle = pointAt(found.line, (found.run.from + found.run.to) / 2);
    if (cosine > kTangentCosine && std::abs(chosen.line.distance(middle)) < kSameDistance) {
        const double along = middle.dot(chosen.line.direction());
        if (along > chosen.run.from && along < chosen.run.to)
            return true;
    }
    const Span span = spanWithin(found.line, size, 0);
    return cosine > kSameCosine
        && std::abs(chosen.line.distance(pointAt(found.line, span.from))) < kSameDistance
        && std::abs(chosen.line.distance(pointAt(found.line, span.to))) < kSameDistance;
}

struct Step
{
    double steadiness = 0; ///< 0 to 1
    double height = 0; ///< levels
};

/// How far the colours on both sides of the run differ in the same way all along, and how much. A
/// sheet's rim does; a line drawn on a desk does not.
Step stepAcross(const Line &line, const Span &run, const Planes &planes)
{
    const cv::Point2d reach = line.normal * kColourReach;
    const cv::Rect frame(0, 0, planes[0].cols, planes[0].rows);
    cv::Vec3d sum;
    double squares = 0;
    int count = 0;
    for (double along = run.from; along <= run.to; along += kStepSpacing) {
        const cv::Point left = pointAt(line, along) + reach;
        const cv::Point right = pointAt(line, along) - reach;
        if (!frame.contains(left) || !frame.contains(right))
            continue;
        cv::Vec3d step;
        for (int i = 0; i < 3; ++i) {
            const cv::Mat &plane = planes[static_cast<std::size_t>(i)];
            step[i] = plane.at<std::uint8_t>(left) - plane.at<std::uint8_t>(right);
        }
        sum += step;
        squares += step.dot(step);
        ++count;
    }
    if (count == 0)
        return {};
    return {sum.dot(sum) / count / std::max(1.0 * count, squares), cv::norm(sum) / count};
}

/// The lines taken so far: different ones, and not too many of any direction.
class Selection
{
public:
    explicit Selection(cv::Size size)
        : m_size(size)
    {
    }

    void addBest(std::vector<FoundLine> &lines, double FoundLine::*score, std::size_t most,
                 std::size_t mostOfSector)
    {
        std::stable_sort(lines.begin(), lines.end(),
                         [score](const auto &a, const auto &b) { return a.*score > b.*score; });
        for (const FoundLine &each : lines) {
            const auto sector = static_cast<std::size_t>(each.angle / CV_PI * kSectors) % kSectors;
            if (m_lines.size() >= most || m_counts[sector] >= mostOfSector)
                continue;
            if (std::any_of(m_lines.begin(), m_lines.end(),
                            [&](const FoundLine &other) { return isSame(each, other, m_size); }))
                continue;
            ++m_counts[sector];
            m_lines.push_back(each);
        }
    }

    const std::vector<FoundLine> &lines() const { return m_lines; }

private:
    cv::Size m_size;
    std::vector<FoundLine> m_lines;
    std::array<std::size_t, kSectors> m_counts{};
};

} // namespace

Span spanWithin(const Line &line, cv::Size size, double margin)
{
    const cv::Point2d foot = line.normal * line.offset;
    const cv::Point2d direction = line.direction();
    Span span{-std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    const auto limit = [&span](double start, double step, double most, double least) {
        if (std::abs(step) < 1e-9) {
            if (start < least || start > most)
                span.to = span.from;
            return;
        }
        const double a = (least - start) / step;
        const double b = (most - start) / step;
        span.from = std::max(span.from, std::min(a, b));
        span.to = std::min(span.to, std::max(a, b));
    };
    limit(foot.x, direction.x, size.width - 1 - margin, margin);
    limit(foot.y, direction.y, size.height - 1 - margin, margin);
    if (span.from >= span.to)
        return {0, 0};
    return span;
}

LineFinder::LineFinder(const EdgeMap &map, const Planes &planes, HelperThread &core)
    : m_map(map)
    , m_planes(planes)
    , m_core(core)
{
}

void LineFinder::add(const std::vector<Line> &likely)
{
    const auto find = [&](int first, int end, std::vector<FoundLine> &found) {
        for (int i = first; i < end; ++i)
            addLine(likely[static_cast<std::size_t>(i)], found);
    };
    const auto found = m_core.collect<FoundLine>(0, static_cast<int>(likely.size()), find);
    m_found.insert(m_found.end(), found.begin(), found.end());
}

void LineFinder::addLine(const Line &line, std::vector<FoundLine> &lines) const
{
    FoundLine found;
    found.line = line;
    Run run = bestRun(found.line, m_map);
    if (run.score < kShortest)
        return;
    for (int round = 0; round < kRefinements; ++round) {
        found.line = refined(found.line, run, m_map);
        run = bestRun(found.line, m_map);
    }
    found.angle = std::atan2(found.line.normal.y, found.line.normal.x);
    if (found.angle < 0)
        found.angle += CV_PI;
    found.run = run.span;
    const Step step = stepAcross(found.line, run.span, m_planes);
    found.steadyLength = run.score * (kUnsteadyWorth + step.steadiness);
    found.contrast = run.score / (run.score + kUsualRun)
        * (kUnsteadyWorth + step.steadiness * (1 + step.height / kUsualStep));
    lines.push_back(found);
}

std::vector<FoundLine> LineFinder::best() const
{
    std::vector<FoundLine> lines = m_found;
    Selection selection(m_map.size());
    selection.addBest(lines, &FoundLine::steadyLength, kMaxLines / 2, kPerSector / 2);
    selection.addBest(lines, &FoundLine::contrast, kMaxLines, kPerSector);
    return selection.lines();
}

} // namespace korv::crop
