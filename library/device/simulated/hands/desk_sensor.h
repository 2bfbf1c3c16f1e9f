#pragma once

#include "library/device/simulated/hands/hand_desk_options.h"
#include "library/image/image.h"

#include <cstdint>
#include <vector>

namespace korv {

/// What a sensor makes of a scene: light that drifts and flickers while it reads row after row, and
/// noise of its own.
class DeskSensor
{
public:
    /// `rowBytes`: the longest row that it will see.
    DeskSensor(const HandDeskOptions &options, std::size_t rowBytes);

    /// Frame `number`, taken `seconds` after the start, of an Rgb24 scene. `picture` becomes as large
    /// as the scene; its memory is used again.
    void expose(const Image &scene, std::int64_t number, double seconds, Image &picture) const;

private:
    double gainOf(double seconds, double down) const;

    const HandDeskOptions m_options;
    std::vector<std::uint8_t> m_lighter; ///< noise that adds
    std::vector<std::uint8_t> m_darker;
};

} // namespace korv
