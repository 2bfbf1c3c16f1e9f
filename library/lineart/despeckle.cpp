#include "library/lineart/despeckle.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include <opencv2/core/hal/intrin.hpp>

namespace korv {

namespace {

constexpr int kRowLanes = 16;

/// Black pixels of a row that touch each other: from `first` up to `end`.
struct Run
{
    int y = 0;
    int first = 0;
    int end = 0;
};

bool operator==(const Run &a, const Run &b)
{
    return a.y == b.y && a.first == b.first;
}

/// The first pixel of a row from x on, and before `end`, that has the level; `end` when there is none.
int find(const Image &image, std::uint8_t level, int x, int end, int y)
{
    const std::uint8_t *row = image.row(y);
    const void *found =
        x < end ? std::memchr(row + x, level, static_cast<std::size_t>(end - x)) : nullptr;
    return found != nullptr ? static_cast<int>(static_cast<const std::uint8_t *>(found) - row)
                            : end;
}

/// What hangs together with a run that nothing above touches, as long as it is small.
class Thing
{
public:
    Thing(Image &image, int largest)
        : m_image(image)
        , m_largest(largest)
    {
    }

    /// Whitens the thing whose first black pixel is given, unless it is larger than a speck or has
    /// another first one.
    void whitenSpeck(int x, int y)
    {
        m_runs.clear();
        m_pixels = 0;
        add(runAt(x, y));
        const Run first = m_runs.front();
        if (isTooLarge() || (y > 0 && blackBeside(first, y - 1) < endBeside(first)))
            return;
        for (std::size_t i = 0; i < m_runs.size() && !isTooLarge(); ++i) {
            addTouching(m_runs[i], m_runs[i].y - 1);
            addTouching(m_runs[i], m_runs[i].y + 1);
        }
        if (isTooLarge())
            return;
        for (const Run &run : m_runs)
            std::fill(m_image.row(run.y) + run.first, m_image.row(run.y) + run.end,
                      std::uint8_t{255});
    }

private:
    bool isTooLarge() const { return m_pixels > m_largest; }

    /// Touching at corners counts.
    int endBeside(const Run &run) const { return std::min(run.end + 1, m_image.width()); }

    int blackBeside(const Run &run, int y) const
    {
        return find(m_image, 0, std::max(0, run.first - 1), endBeside(run), y);
    }

    /// The run of a black pixel, or a part of it that is too large already: lines may be long.
    Run runAt(int x, int y) const
    {
        const std::uint8_t *row = m_image.row(y);
        int first = x;
        while (first > 0 && row[first - 1] == 0 && x - first <= m_largest)
            --first;
        return {y, first, find(m_image, 255, x, std::min(m_image.width(), x + m_largest + 1), y)};
    }

    void add(const Run &run)
    {
        if (std::find(m_runs.begin(), m_runs.end(), run) != m_runs.end())
            return;
        m_runs.push_back(run);
        m_pixels += run.end - run.first;
    }

    void addTouching(Run run, int y)
    {
        if (y < 0 || y >= m_image.height())
            return;
        const int end = endBeside(run);
        for (int x = blackBeside(run, y); x < end && !isTooLarge();
             x = find(m_image, 0, x, end, y)) {
            const Run touching = runAt(x, y);
            add(touching);
            x = touching.end;
        }
    }

    Image &m_image;
    int m_largest;
    int m_pixels = 0;
    std::vector<Run> m_runs;
};

/// Sixteen bits for the pixels from x on, which have neighbours on both sides: 1 where a thing may begin,
/// as a black pixel with white to its left and above. Every thing has one, and few other pixels are like
/// that.
int beginningsFrom(const std::uint8_t *row, const std::uint8_t *above, int x)
{
    const auto at = [](const std::uint8_t *pixel) { return cv::v_load(pixel); };
    const cv::v_uint8x16 around =
        at(row + x - 1) & at(above + x - 1) & at(above + x) & at(above + x + 1);
    return cv::v_signmask(around & ~at(row + x));
}

} // namespace

int largestSpeck(const Image &image)
{
    const double fineness = std::max(image.width(), image.height()) / 1600.0;
    return std::clamp(static_cast<int>(2 * fineness * fineness), 1, 20);
}

void despeckle(Image &image, int largest)
{
    Thing thing(image, largest);
    const std::vector<std::uint8_t> white(image.stride(), 255);
    for (int y = 0; y < image.height(); ++y) {
        const std::uint8_t *row = image.row(y);
        const std::uint8_t *above = y == 0 ? white.data() : image.row(y - 1);
        const auto beginAt = [&](int x) {
            if (row[x] == 0 && (x == 0 || row[x - 1] != 0))
                thing.whitenSpeck(x, y);
        };
        beginAt(0);
        int x = 1;
        for (; x + kRowLanes < image.width(); x += kRowLanes) {
            const int beginnings = beginningsFrom(row, above, x);
            for (int i = 0; beginnings >> i != 0; ++i) {
                if ((beginnings >> i & 1) != 0)
                    beginAt(x + i);
            }
        }
        for (; x < image.width(); ++x)
            beginAt(x);
    }
}

} // namespace korv
