#include "cli/turns/stillness.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace cli {
namespace {

constexpr std::size_t kSteadyPictures = 4;
constexpr double kSteady = 0.03; ///< of the sharpness, between pictures in focus
constexpr double kBestShare = 0.9; ///< of the best sharpness so far

constexpr float kMemory = 0.08F; ///< weight of the newest picture: about a second at 15 a second
constexpr float kLifeOverNoise = 1.6F;
constexpr int kEnoughPictures = 30;
constexpr float kMinLife = 0.3F; ///< square percents

} // namespace

bool FocusWatch::hasSettled() const
{
    if (m_values.size() < kSteadyPictures)
        return false;
    const auto last = m_values.end() - static_cast<std::ptrdiff_t>(kSteadyPictures);
    const auto [least, most] = std::minmax_element(last, m_values.end());
    const double best = *std::max_element(m_values.begin(), m_values.end());
    return *most - *least <= kSteady * *most && m_values.back() >= kBestShare * best;
}

void LifeWatch::reset()
{
    *this = LifeWatch();
}

void LifeWatch::add(const LightMap &map)
{
    ++m_pictures;
    if (!m_mean.isLike(map)) {
        m_mean = map;
        m_variance.assign(
            static_cast<std::size_t>(map.width()) * static_cast<std::size_t>(map.height()), 0);
        return;
    }
    const LightChange change(m_mean, map);
    m_mean.approach(change, kMemory);
    std::size_t at = 0;
    for (int y = 0; y < map.height(); ++y) {
        for (int x = 0; x < map.width(); ++x, ++at) {
            const float difference = change.row(y)[x];
            m_variance[at] = (1 - kMemory) * (m_variance[at] + kMemory * difference * difference);
        }
    }
}

bool LifeWatch::isAlive() const
{
    if (m_pictures < kEnoughPictures)
        return true;
    std::vector<float> blocks;
    for (int top = 0; top + kBlockSide <= m_mean.height(); top += kBlockSide) {
        for (int left = 0; left + kBlockSide <= m_mean.width(); left += kBlockSide) {
            float sum = 0;
            for (int y = top; y < top + kBlockSide; ++y) {
                const auto from =
                    m_variance.begin() + static_cast<std::ptrdiff_t>(y) * m_mean.width() + left;
                for (auto each = from; each != from + kBlockSide; ++each)
                    sum += *each;
            }
            blocks.push_back(sum / (kBlockSide * kBlockSide));
        }
    }
    if (blocks.empty())
        return true;
    const float most = *std::max_element(blocks.begin(), blocks.end());
    const auto middle = blocks.begin() + static_cast<std::ptrdiff_t>(blocks.size() / 2);
    std::nth_element(blocks.begin(), middle, blocks.end());
    return most > kLifeOverNoise * *middle + kMinLife;
}

} // namespace cli
