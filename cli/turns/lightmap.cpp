#include "cli/turns/lightmap.h"

#include "cli/turns/darkest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace cli {
namespace {

constexpr int kReach = 2; ///< how far a block may have moved, in pixels
constexpr float kMinDifference = 5; ///< below is noise
constexpr float kContrastShare = 0.35F; ///< of its own contrast: a move by half a pixel

std::array<float, 256> makePercents()
{
    std::array<float, 256> table{};
    for (std::size_t level = 0; level < table.size(); ++level)
        table[level] = 100 * std::log(static_cast<float>(level) + kDarkest);
    return table;
}

/// Weights 1, 2, 1 of a row's neighbours.
void blurRow(const std::vector<float> &from, float *to, int width)
{
    for (int x = 0; x < width; ++x) {
        const auto at = static_cast<std::size_t>(x);
        const float left = from[x > 0 ? at - 1 : at];
        const float right = from[x + 1 < width ? at + 1 : at];
        to[x] = (left + 2 * from[at] + right) / 4;
    }
}

float medianOf(const float *values, int count, std::vector<float> &room)
{
    room.assign(values, values + count);
    const auto middle = room.begin() + count / 2;
    std::nth_element(room.begin(), middle, room.end());
    return *middle;
}

/// A square of a map.
struct Block
{
    int x = 0;
    int y = 0;
};

float contrastOf(const LightMap &map, const Block &block)
{
    float sum = 0;
    float squares = 0;
    for (int y = block.y; y < block.y + kBlockSide; ++y) {
        const float *const row = map.row(y);
        // near zero, where squares of floats are exact enough
        const float zero = map.row(block.y)[block.x];
        for (int x = block.x; x < block.x + kBlockSide; ++x) {
            sum += row[x] - zero;
            squares += (row[x] - zero) * (row[x] - zero);
        }
    }
    constexpr float kCount = kBlockSide * kBlockSide;
    return std::sqrt(std::max(0.0F, squares / kCount - sum / kCount * (sum / kCount)));
}

/// Root of the mean square difference between a block now and the one `dx`, `dy` beside it before.
float distance(const LightMap &before, const LightMap &now, const LightChange &change,
               const Block &block, int dx, int dy)
{
    float squares = 0;
    for (int y = block.y; y < block.y + kBlockSide; ++y) {
        const float *const old = before.row(y + dy) + dx;
        const float *const row = now.row(y);
        const float light = change.lightOf(y);
        for (int x = block.x; x < block.x + kBlockSide; ++x) {
            const float difference = row[x] - old[x] - light;
            squares += difference * difference;
        }
    }
    return std::sqrt(squares / (kBlockSide * kBlockSide));
}

/// The maps of before, as they are and between their pixels: a page does not move by whole ones.
using Positions = std::array<LightMap, 4>;

Positions positionsOf(const LightMap &map)
{
    return {map, map.halfway(Shift::Half, Shift::None), map.halfway(Shift::None, Shift::Half),
            map.halfway(Shift::Half, Shift::Half)};
}

bool isFoundIn(const LightMap &before, const LightMap &now, const LightChange &change,
               const Block &block, float allowed)
{
    const int top = std::max(-kReach, -block.y);
    const int bottom = std::min(kReach, now.height() - kBlockSide - block.y);
    const int left = std::max(-kReach, -block.x);
    const int right = std::min(kReach, now.width() - kBlockSide - block.x);
    for (int dy = top; dy <= bottom; ++dy) {
        for (int dx = left; dx <= right; ++dx) {
            if (distance(before, now, change, block, dx, dy) <= allowed)
                return true;
        }
    }
    return false;
}

bool isDifferent(const Positions &before, const LightMap &now, const LightChange &change,
                 const Block &block)
{
    const float contrast = std::max(contrastOf(before.front(), block), contrastOf(now, block));
    const float allowed = std::max(kMinDifference, kContrastShare * contrast);
    return std::none_of(before.begin(), before.end(), [&](const LightMap &position) {
        return isFoundIn(position, now, change, block, allowed);
    });
}

/// Calls `work` for every whole block.
template <typename Work> void forEachBlock(int width, int height, Work work)
{
    for (int y = 0; y + kBlockSide <= height; y += kBlockSide) {
        for (int x = 0; x + kBlockSide <= width; x += kBlockSide)
            work(Block{x, y});
    }
}

} // namespace

LightMap::LightMap(const SmallPicture &picture)
    : m_width(picture.width)
    , m_height(picture.height)
    , m_light(picture.gray.size())
{
    static const std::array<float, 256> kPercents = makePercents();
    const auto width = static_cast<std::size_t>(m_width);
    std::vector<float> column(width);
    for (int y = 0; y < m_height; ++y) {
        const std::uint8_t *const above = picture.row(std::max(0, y - 1));
        const std::uint8_t *const here = picture.row(y);
        const std::uint8_t *const below = picture.row(std::min(m_height - 1, y + 1));
        for (std::size_t x = 0; x < width; ++x)
            column[x] = (kPercents[above[x]] + 2 * kPercents[here[x]] + kPercents[below[x]]) / 4;
        blurRow(column, m_light.data() + static_cast<std::size_t>(y) * width, m_width);
    }
}

LightMap LightMap::halfway(Shift left, Shift up) const
{
    LightMap moved = *this;
    float *light = moved.m_light.data();
    for (int y = 0; y < m_height; ++y) {
        const float *const here = row(y);
        const float *const below = row(up == Shift::Half ? std::min(y + 1, m_height - 1) : y);
        for (int x = 0; x < m_width; ++x) {
            const int next = left == Shift::Half ? std::min(x + 1, m_width - 1) : x;
            *light++ = (here[x] + here[next] + below[x] + below[next]) / 4;
        }
    }
    return moved;
}

void LightMap::approach(const LightChange &change, float part)
{
    float *light = m_light.data();
    for (int y = 0; y < m_height; ++y) {
        const float *const row = change.row(y);
        for (int x = 0; x < m_width; ++x)
            *light++ += part * row[x];
    }
}

LightChange::LightChange(const LightMap &before, const LightMap &now)
    : m_difference(now)
    , m_light(static_cast<std::size_t>(now.height()))
{
    std::vector<float> room;
    for (int y = 0; y < now.height(); ++y) {
        float *const row = m_difference.m_light.data()
            + static_cast<std::size_t>(y) * static_cast<std::size_t>(now.width());
        const float *const old = before.row(y);
        for (int x = 0; x < now.width(); ++x)
            row[x] -= old[x];
        const float light = medianOf(row, now.width(), room);
        m_light[static_cast<std::size_t>(y)] = light;
        for (int x = 0; x < now.width(); ++x)
            row[x] -= light;
    }
}

int LightChange::changedBlocks(float threshold) const
{
    int changed = 0;
    forEachBlock(width(), height(), [&](const Block &block) {
        float sum = 0;
        for (int y = block.y; y < block.y + kBlockSide; ++y) {
            for (int x = block.x; x < block.x + kBlockSide; ++x)
                sum += std::abs(row(y)[x]);
        }
        changed += sum > threshold * kBlockSide * kBlockSide ? 1 : 0;
    });
    return changed;
}

int differentBlocks(const LightMap &before, const LightMap &now)
{
    const LightChange change(before, now);
    const Positions positions = positionsOf(before);
    int different = 0;
    forEachBlock(now.width(), now.height(), [&](const Block &block) {
        different += isDifferent(positions, now, change, block) ? 1 : 0;
    });
    return different;
}

} // namespace cli
