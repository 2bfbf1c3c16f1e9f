#include "cli/turns/edgering.h"

#include "cli/turns/darkest.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace cli {
namespace {

constexpr int kDepthFraction = 40; ///< of the width, how deep the edge is looked at
constexpr int kArmFraction = 27; ///< of the width, the narrowest arm
/// From then on brightness, and the two of colour, have changed.
constexpr std::array<float, 3> kChange{14, 12, 12};

} // namespace

EdgeRing::EdgeRing(const SmallColourPicture &picture)
    : m_arm(std::max(2, picture.width / kArmFraction))
{
    const int width = picture.width;
    const int height = picture.height;
    const int depth = std::min({std::max(2, width / kDepthFraction), width, height});
    for (int x = 0; x < width; ++x)
        add(picture, x, 0, 1, depth);
    for (int y = 0; y < height; ++y)
        add(picture, width - depth, y, depth, 1);
    for (int x = width - 1; x >= 0; --x)
        add(picture, x, height - depth, 1, depth);
    for (int y = height - 1; y >= 0; --y)
        add(picture, 0, y, depth, 1);
}

void EdgeRing::add(const SmallColourPicture &picture, int left, int top, int width, int height)
{
    std::array<float, 3> sums{};
    for (int y = top; y < top + height; ++y) {
        for (int x = left; x < left + width; ++x) {
            const std::uint8_t *const pixel = picture.pixel(x, y);
            for (std::size_t channel = 0; channel < sums.size(); ++channel)
                sums[channel] += pixel[channel];
        }
    }
    std::array<float, 3> light{};
    for (std::size_t channel = 0; channel < sums.size(); ++channel)
        light[channel] =
            100 * std::log(sums[channel] / static_cast<float>(width * height) + kDarkest);
    m_places.push_back({light[1], light[0] - light[1], light[2] - light[1]});
}

bool EdgeRing::isEnteredSince(const EdgeRing &before) const
{
    if (before.m_places.size() != m_places.size() || m_places.empty())
        return false;
    std::vector<Look> changes(m_places.size());
    Look shared{}; // by most of the edge: the light
    for (std::size_t part = 0; part < shared.size(); ++part) {
        std::vector<float> each(m_places.size());
        for (std::size_t at = 0; at < m_places.size(); ++at)
            each[at] = changes[at][part] = m_places[at][part] - before.m_places[at][part];
        const auto middle = each.begin() + static_cast<std::ptrdiff_t>(each.size() / 2);
        std::nth_element(each.begin(), middle, each.end());
        shared[part] = *middle;
    }
    int length = 0;
    // once more from the start, for what lies over the place where the ring begins
    for (std::size_t at = 0; at < m_places.size() + static_cast<std::size_t>(m_arm); ++at) {
        const Look &change = changes[at % changes.size()];
        bool isChanged = false;
        for (std::size_t part = 0; part < shared.size(); ++part)
            isChanged = isChanged || std::abs(change[part] - shared[part]) > kChange[part];
        length = isChanged ? length + 1 : 0;
        if (length >= m_arm)
            return true;
    }
    return false;
}

} // namespace cli
