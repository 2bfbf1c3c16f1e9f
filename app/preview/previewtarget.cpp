#include "app/preview/previewtarget.h"

#include <algorithm>

using previewgeometry::Turn;

namespace {

constexpr int kMaxTextureSide = 0xffff;
constexpr double kDensitySteps = 256;
constexpr double kMaxDensity = 64;

} // namespace

void PreviewTarget::set(const Value &value)
{
    const auto width =
        static_cast<std::uint64_t>(std::clamp(value.area.width(), 0, kMaxTextureSide));
    const auto height =
        static_cast<std::uint64_t>(std::clamp(value.area.height(), 0, kMaxTextureSide));
    const auto density = static_cast<std::uint64_t>(
        std::clamp(value.density, 1 / kDensitySteps, kMaxDensity) * kDensitySteps);
    m_word.store(density << 40U | static_cast<std::uint64_t>(value.turn) << 32U | width << 16U
                 | height);
}

PreviewTarget::Value PreviewTarget::get() const
{
    const std::uint64_t word = m_word.load();
    return {static_cast<Turn>(word >> 32U & 0xffU),
            QSize(static_cast<int>(word >> 16U & kMaxTextureSide),
                  static_cast<int>(word & kMaxTextureSide)),
            static_cast<double>(word >> 40U) / kDensitySteps};
}
