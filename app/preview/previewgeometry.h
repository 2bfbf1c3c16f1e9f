#pragma once

#include <QRect>
#include <QSize>

#include <cstdint>

/// How the preview stands on the screen: pure arithmetic, no pictures.
namespace previewgeometry {

enum class Turn : std::uint8_t { None, Left90, Right90, Half };

/// The turn that a rotation code asks for. 1 and 2 are a quarter turn; -1 and 0 are none; every
/// other code turns by half.
Turn turnOf(int rotationCode);

inline bool isQuarterTurn(Turn turn)
{
    return turn == Turn::Left90 || turn == Turn::Right90;
}

/// Where a frame of `frameSize` pixels stands after its turn in an area of `area` pixels: as large
/// as it fits with its aspect ratio kept, centred, sides truncated. Empty when there is nothing to
/// fit (a size of 0).
QRect fitted(QSize frameSize, Turn turn, QSize area);

} // namespace previewgeometry
