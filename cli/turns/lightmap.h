#pragma once

#include "cli/turns/smallpicture.h"

#include <cstddef>
#include <vector>

namespace cli {

enum class Shift { None, Half };

/// A picture as relative brightness, in hundredths of a natural logarithm: 1 is one percent. Light
/// that changes adds the same everywhere, and what it adds can be taken off again. Slightly blurred,
/// against noise.
class LightMap
{
public:
    LightMap() = default;
    explicit LightMap(const SmallPicture &picture);

    int width() const { return m_width; }
    int height() const { return m_height; }
    bool isLike(const LightMap &other) const
    {
        return m_width == other.m_width && m_height == other.m_height && m_width > 0;
    }

    const float *row(int y) const
    {
        return m_light.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width);
    }

    /// The map moved left and up by half a pixel, where asked for.
    LightMap halfway(Shift left, Shift up) const;

    /// Takes over that part of a change from this map to another, light excepted.
    void approach(const class LightChange &change, float part);

private:
    friend class LightChange;

    int m_width = 0;
    int m_height = 0;
    std::vector<float> m_light;
};

/// What has changed from one map to another of the same size, other than the light: of each row the
/// change that most of it shares is taken off. That takes a lamp away that became brighter, and the
/// bands of one that flickers while the sensor reads row after row.
class LightChange
{
public:
    LightChange(const LightMap &before, const LightMap &now);

    int width() const { return m_difference.width(); }
    int height() const { return m_difference.height(); }

    const float *row(int y) const { return m_difference.row(y); }

    /// What the light has added to a row, which has been taken off.
    float lightOf(int y) const { return m_light[static_cast<std::size_t>(y)]; }

    /// The number of square blocks whose pixels have changed by more than `threshold` on average.
    int changedBlocks(float threshold) const;

private:
    LightMap m_difference;
    std::vector<float> m_light;
};

/// Side of the blocks in which pictures are compared, in pixels of a map.
constexpr int kBlockSide = 16;

/// How many blocks look different in the two maps, wherever a block has moved by up to a few pixels:
/// a page that was nudged, a lens that breathes, is not another page.
int differentBlocks(const LightMap &before, const LightMap &now);

} // namespace cli
