#include "app/preview/previewgeometry.h"

#include <algorithm>

namespace previewgeometry {

Turn turnOf(int rotationCode)
{
    if (rotationCode == 1)
        return Turn::Left90;
    if (rotationCode == 2)
        return Turn::Right90;
    // Unsigned on purpose: codes below -1 wrap round and turn by half as well.
    return static_cast<std::uint32_t>(rotationCode) + 1U > 2U ? Turn::Half : Turn::None;
}

QRect fitted(QSize frameSize, Turn turn, QSize area)
{
    const QSize turned = isQuarterTurn(turn) ? frameSize.transposed() : frameSize;
    if (turned.width() <= 0 || turned.height() <= 0 || area.isEmpty())
        return {};
    const double scale = std::max(static_cast<double>(turned.width()) / area.width(),
                                  static_cast<double>(turned.height()) / area.height());
    const int width = std::min(area.width(), static_cast<int>(turned.width() / scale));
    const int height = std::min(area.height(), static_cast<int>(turned.height() / scale));
    return {(area.width() - width) / 2, (area.height() - height) / 2, width, height};
}

} // namespace previewgeometry
