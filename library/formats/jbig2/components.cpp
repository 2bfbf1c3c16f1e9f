#include "library/formats/jbig2/components.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace korv::jbig2 {

namespace {

/// Black pixels side by side.
struct Run
{
    int y;
    int first;
    int end;
};

std::vector<Run> runsOf(const Image &image)
{
    std::vector<Run> runs;
    for (int y = 0; y < image.height(); ++y) {
        const std::uint8_t *row = image.row(y);
        const std::uint8_t *end = row + image.width();
        for (const std::uint8_t *at = row; at < end;) {
            const void *black = std::memchr(at, 0, static_cast<std::size_t>(end - at));
            if (black == nullptr)
                break;
            const auto *first = static_cast<const std::uint8_t *>(black);
            at = std::find_if(first, end, [](std::uint8_t pixel) { return pixel != 0; });
            runs.push_back({y, static_cast<int>(first - row), static_cast<int>(at - row)});
        }
    }
    return runs;
}

/// Which runs touch each other: of those that do, the first one stands for all.
class Groups
{
public:
    explicit Groups(std::size_t count)
        : m_parents(count)
    {
        std::iota(m_parents.begin(), m_parents.end(), 0U);
    }

    std::size_t first(std::size_t run)
    {
        while (m_parents[run] != run) {
            m_parents[run] = m_parents[m_parents[run]];
            run = m_parents[run];
        }
        return run;
    }

    void join(std::size_t one, std::size_t other)
    {
        const auto [lower, upper] = std::minmax({first(one), first(other)});
        m_parents[upper] = lower;
    }

private:
    std::vector<std::size_t> m_parents;
};

Groups touching(const std::vector<Run> &runs)
{
    Groups groups(runs.size());
    std::size_t above = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const Run &run = runs[i];
        while (runs[above].y < run.y - 1
               || (runs[above].y == run.y - 1 && runs[above].end < run.first))
            ++above;
        for (std::size_t at = above; runs[at].y == run.y - 1 && runs[at].first <= run.end; ++at)
            groups.join(at, i);
    }
    return groups;
}

struct Box
{
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

} // namespace

std::optional<std::vector<Component>> componentsOf(const Image &image, std::size_t mostComponents,
                                                   std::size_t mostPixels)
{
    const std::vector<Run> runs = runsOf(image);
    Groups groups = touching(runs);
    std::vector<Box> boxes;
    std::vector<std::size_t> boxOf(runs.size());
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const Run &run = runs[i];
        const std::size_t first = groups.first(i);
        if (first == i) {
            if (boxes.size() == mostComponents)
                return {};
            boxOf[i] = boxes.size();
            boxes.push_back({run.first, run.y, run.end, run.y + 1});
            continue;
        }
        boxOf[i] = boxOf[first];
        Box &box = boxes[boxOf[i]];
        box.left = std::min(box.left, run.first);
        box.right = std::max(box.right, run.end);
        box.bottom = run.y + 1;
    }
    std::size_t pixels = 0;
    for (const Box &box : boxes)
        pixels += static_cast<std::size_t>(box.right - box.left)
            * static_cast<std::size_t>(box.bottom - box.top);
    if (pixels > mostPixels)
        return {};
    std::vector<Component> components;
    components.reserve(boxes.size());
    for (const Box &box : boxes)
        components.push_back(
            {box.left, box.top, Bitmap(box.right - box.left, box.bottom - box.top)});
    for (std::size_t i = 0; i < runs.size(); ++i) {
        Component &component = components[boxOf[i]];
        std::uint8_t *row = component.shape.row(runs[i].y - component.top) - component.left;
        std::fill(row + runs[i].first, row + runs[i].end, std::uint8_t{1});
    }
    return components;
}

} // namespace korv::jbig2
