#pragma once

#include "cli/turns/lightmap.h"

#include <vector>

namespace cli {

/// Whether a lens has found its focus, by the sharpness of one picture after the other.
class FocusWatch
{
public:
    void add(double sharpness) { m_values.push_back(sharpness); }
    void reset() { m_values.clear(); }

    /// Sharpness has stopped changing, and has been no better before.
    bool hasSettled() const;

private:
    std::vector<double> m_values;
};

/// Whether something that looks still is alive: a resting hand trembles by fractions of a pixel,
/// which pictures over seconds show at its outline.
class LifeWatch
{
public:
    void add(const LightMap &map);
    void reset();

    /// Whether some part of the picture has changed more than the noise everywhere else. A few
    /// pictures, which is all that a camera that stalls sends, prove no death.
    bool isAlive() const;

private:
    int m_pictures = 0;
    LightMap m_mean;
    std::vector<float> m_variance;
};

} // namespace cli
